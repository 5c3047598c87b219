// SPDX-License-Identifier: MIT
#include "app/credential_locks.h"

namespace velmora
{

CredentialLockPlaces credentialLocks(const XDGDirectories &directories, const LoginOrigin &origin)
{
    CredentialLockPlaces places;
    places.keyringService = origin.keychainService();
    for (const QString &folder : {directories.runtime, directories.data}) {
        if (!folder.isEmpty())
            places.folders.append(folder + QStringLiteral("/locks"));
    }
    return places;
}

} // namespace velmora
