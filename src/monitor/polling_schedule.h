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
    /// When the installations of the identity were loaded for which that is longest ago; absent while none are known.
    std::optional<Instant> installationsLoadedAt;
    std::optional<Instant> lastRefreshedAt; ///< all deployments
    bool hasActiveDeployment = false;
};

/// Installations every hour, all deployments every 30 seconds, and whatever is under way with every tick. A
/// clock that was set back makes everything due that now lies in the future.
[[nodiscard]] PollingDecision decide(const PollingSituation &situation, Instant now);

/// Whether the installations of an identity, which were loaded then, are asked for when all deployments are: after an
/// hour, or already now if new ones are expected. What was loaded a moment ago serves for both.
[[nodiscard]] bool areInstallationsDue(Instant loadedAt, bool areExpected, Instant now);

} // namespace velmora
