// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_turns.h"
#include "accounts/login_origin.h"
#include "platform/xdg_directories.h"

namespace velmora
{

/// Where the processes of one user lock while they replace a token of this origin: in the runtime folder, or in the
/// data folder where there is none. Profiles that share the keyring share these locks.
[[nodiscard]] CredentialLockPlaces credentialLocks(const XDGDirectories &directories, const LoginOrigin &origin);

} // namespace velmora
