// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <chrono>

namespace velmora::testing
{

/// What a month is made of.
struct MonthOptions {
    quint64 seed = 0; ///< 0: fromEnvironment() draws one
    int days = 1;
    int repositories = 300;
    int kept = 8; ///< deployments of a repository, but for those under way
    std::chrono::seconds deploymentPause{400}; ///< the longest between two deployments in working hours
    std::chrono::seconds nightPause{7'200}; ///< the same at other times
    int spells = 1; ///< how often the machine is used on a weekday, after equal pauses, the first time at 8
    std::chrono::seconds spell = std::chrono::hours(11); ///< how long each time
    std::chrono::seconds calm = std::chrono::minutes(25); ///< the longest time between two faults

    /// From VELMORA_MONTH_SEED, VELMORA_MONTH_DAYS, VELMORA_MONTH_REPOSITORIES and VELMORA_MONTH_KEPT, as far as they
    /// are set.
    [[nodiscard]] static MonthOptions fromEnvironment(MonthOptions defaults);
    /// These variables with the values of this month.
    [[nodiscard]] QString asVariables() const;
};

} // namespace velmora::testing
