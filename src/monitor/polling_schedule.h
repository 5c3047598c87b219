// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <optional>

namespace velmora
{

/// How often the monitor decides what to do.
inline constexpr std::chrono::seconds kTickInterval{5};

/// What one tick of the monitor has to do.
enum class PollingDecision {
    InstallationsAndAllDeployments,
    AllDeployments,
    ActiveDeployments,
    Nothing,
};

/// What the monitor goes by when it decides.
struct PollingSituation {
    std::optional<Instant> lastFullRefreshAt; ///< installations and all deployments
    std::optional<Instant> lastRefreshedAt; ///< all deployments
    bool hasActiveDeployment = false;
};

/// Installations every hour, all deployments every 30 seconds, and whatever is under way with every tick. A
/// clock that was set back makes everything due that now lies in the future.
[[nodiscard]] PollingDecision decide(const PollingSituation &situation, Instant now);

} // namespace velmora
