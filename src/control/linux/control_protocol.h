// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

// What the two ends of the bus agree on. A change that the other end would not understand takes another number.

inline constexpr auto kControlInterface = u"com.tarvik.Velmora.Control1";
inline constexpr auto kControlFailure = u"com.tarvik.Velmora.Error.Failed";

} // namespace velmora
