// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"

#include "simulator/random.h"

namespace velmora::testing
{

/// Random numbers, and durations in whole seconds.
class MonthRandom final : public simulator::Random
{
public:
    using Random::between;
    using Random::Random;

    /// From `least` to `most`, inclusive.
    [[nodiscard]] MonthClock::Duration between(MonthClock::Duration least, MonthClock::Duration most)
    {
        return std::chrono::seconds(between(least / std::chrono::seconds(1), most / std::chrono::seconds(1)));
    }
};

} // namespace velmora::testing
