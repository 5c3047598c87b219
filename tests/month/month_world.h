// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"
#include "month_desktop.h"
#include "month_github.h"
#include "month_options.h"
#include "month_oracle.h"
#include "month_random.h"
#include "month_record.h"

namespace velmora::testing
{

/// Everything around the program, from the Monday on which the month begins.
struct MonthWorld {
    explicit MonthWorld(const MonthOptions &options)
        : random(options.seed)
        , github(&clock, &oracle, options.seed, options.repositories, options.kept)
    {
    }

    MonthRandom random; ///< what happens
    MonthClock clock{Instant(std::chrono::sys_days(std::chrono::year(2026) / 5 / 4)) + std::chrono::hours(8)};
    MonthRecord record{&clock};
    MonthOracle oracle;
    MonthGitHub github;
    MonthDesktop desktop{&clock};
};

} // namespace velmora::testing
