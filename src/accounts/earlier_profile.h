// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"

#include <optional>

namespace velmora
{

class Preferences;

/// The earlier profile: data of accounts from versions that did not file it by origin. It lies under the names that are
/// github.com's today, whatever host was configured. It belongs to one origin, its owner, and is moved there once.

/// Moves the earlier accounts, their choices and the saved deployments to their owner, unless the owner was settled
/// before or there are none. An interruption loses nothing. Tokens stay in place, since the keyring may be locked;
/// isTokenInherited() tells which to look for there.
void fileEarlierProfile(Preferences *preferences, const QString &cacheFolder, const LoginOrigin &owner);

/// Settles the owner of the earlier accounts, unless it was settled before.
void settleEarlierOwner(Preferences *preferences, const LoginOrigin &owner);

/// The owner of the earlier accounts, nullopt until it is settled.
[[nodiscard]] std::optional<LoginOrigin> earlierOwner(const Preferences &preferences);

/// Whether the token of this account of the owner is still stored under github.com's service.
[[nodiscard]] bool isTokenInherited(const Preferences &preferences, qint64 accountID);
/// From now on, a token of this account under github.com's service belongs to github.com.
void forgetInheritedToken(Preferences *preferences, qint64 accountID);

} // namespace velmora
