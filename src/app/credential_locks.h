// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_turns.h"
#include "accounts/login_origin.h"
#include "platform/xdg_directories.h"

namespace velmora
{

/// Where the processes of one user take turns in replacing a token of this origin: in the runtime folder, and in the
/// data folder where there is none. Profiles that share the keyring share the locks of their session as well.
[[nodiscard]] CredentialLockPlaces credentialLocks(const XDGDirectories &directories, const LoginOrigin &origin);

} // namespace velmora
