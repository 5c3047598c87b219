// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

// Both ends of the bus use these names. An incompatible change needs a new number.

inline constexpr auto kControlInterface = u"com.tarvik.Velmora.Control1";
inline constexpr auto kControlFailure = u"com.tarvik.Velmora.Error.Failed";

// Whose deployments are announced.
inline constexpr auto kEverybody = u"everybody";
inline constexpr auto kMine = u"mine";

// What becomes of mended failures.
inline constexpr auto kCount = u"count";
inline constexpr auto kIgnore = u"ignore";

// The environments of which the user is notified unless chosen otherwise.
inline constexpr auto kProduction = u"production";
inline constexpr auto kEveryEnvironment = u"every";

} // namespace velmora
