// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/login_origin.h"

#include <functional>
#include <memory>

namespace velmora
{

class Preferences;

/// Opens the keyring's store for a service name.
using CredentialStoreFactory = std::function<std::shared_ptr<CredentialStoring>(const QString &service)>;

/// The credentials of the origin.
///
/// Credentials from versions that did not file them by origin lie under github.com's service, even if they belong to
/// another host. That host reads them there until each is replaced or removed. github.com neither reads nor removes
/// them, and moves each to its owner before replacing it. `preferences` are those of the whole profile; they are not
/// owned and may be destroyed before the store.
[[nodiscard]] std::shared_ptr<CredentialStoring> credentialStoreOf(
    const LoginOrigin &origin, Preferences *preferences, const CredentialStoreFactory &open);

} // namespace velmora
