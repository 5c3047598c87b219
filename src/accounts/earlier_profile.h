// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"

#include <optional>

namespace velmora
{

class Preferences;

/// What a profile holds from the time when accounts were not yet filed by their origin: it stands under the names that
/// are github.com's today, whatever host was configured. It belongs to one origin, its owner, and is given to it once.

/// Gives the earlier accounts, the choices for them and the saved deployments to their owner, unless that was settled
/// before or there are none. Nothing is lost when the program ends in between. Tokens stay where they are, since the
/// keyring may be locked; isTokenInherited() tells of each that has to be looked for there.
void fileEarlierProfile(Preferences *preferences, const QString &cacheFolder, const LoginOrigin &owner);

/// Settles whose the earlier accounts were, unless that was settled before.
void settleEarlierOwner(Preferences *preferences, const LoginOrigin &owner);

/// Whose the earlier accounts were; nothing as long as that is not settled.
[[nodiscard]] std::optional<LoginOrigin> earlierOwner(const Preferences &preferences);

/// Whether the token of this account of the owner still stands under github.com's service.
[[nodiscard]] bool isTokenInherited(const Preferences &preferences, qint64 accountID);
/// From now on the token under github.com's service, if there is one, is github.com's.
void forgetInheritedToken(Preferences *preferences, qint64 accountID);

} // namespace velmora
