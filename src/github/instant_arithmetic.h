// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <algorithm>

namespace velmora
{

/// `instant` plus a number of seconds from the network. Clamps the sum to the years 1 to 9999, which is all that can be
/// stored.
[[nodiscard]] inline Instant addingSeconds(Instant instant, qint64 seconds)
{
    using namespace std::chrono;
    constexpr qint64 kMost = 400'000'000'000; // more than 9999 years, and no sum in microseconds overflows
    constexpr Instant kLast = sys_days{year{10000} / January / 1} - std::chrono::seconds{1};
    const std::chrono::seconds wait(std::clamp(seconds, -kMost, kMost));
    return std::clamp(instant + wait, distantPast(), kLast);
}

} // namespace velmora
