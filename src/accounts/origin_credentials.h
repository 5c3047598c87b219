// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/login_origin.h"

#include <functional>
#include <memory>

namespace velmora
{

class Preferences;

/// Opens the keyring's items of a service.
using CredentialStoreFactory = std::function<std::shared_ptr<CredentialStoring>(const QString &service)>;

/// The credentials of the origin.
///
/// Those from the time before credentials were filed by origin stand under github.com's service, although they may be
/// another host's. That host finds them there until each is replaced or removed; github.com neither reads nor removes
/// them, and before it replaces one, it moves that to its owner. `preferences` are those of the whole profile; they are
/// not owned and may go before the store.
[[nodiscard]] std::shared_ptr<CredentialStoring> credentialStoreOf(
    const LoginOrigin &origin, Preferences *preferences, const CredentialStoreFactory &open);

} // namespace velmora
