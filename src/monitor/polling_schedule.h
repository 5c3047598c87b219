// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <optional>

namespace velmora
{

/// How often the monitor decides what to do.
inline constexpr std::chrono::seconds kTickInterval{5};

/// How often all deployments are fetched, where the points last.
inline constexpr std::chrono::seconds kDeploymentsInterval{30};

/// What one tick of the monitor has to do.
enum class PollingDecision {
    InstallationsAndAllDeployments,
    AllDeployments,
    ActiveDeployments,
    Nothing,
};

/// The facts on which a decision rests.
struct PollingSituation {
    /// The earliest time at which installations of an identity that may be asked were loaded; absent while none are
    /// known.
    std::optional<Instant> installationsLoadedAt;
    /// When all deployments were last fetched, or while there is nothing to monitor, when that was last found.
    std::optional<Instant> deploymentsRefreshedAt;
    bool hasActiveDeployment = false;
};

/// Installations are due every hour, all deployments every 30 seconds, and active deployments with every tick. After
/// the clock was set back, what was done at a time that now lies in the future is due.
[[nodiscard]] PollingDecision decide(const PollingSituation &situation, Instant now);

/// Whether installations that were loaded at `loadedAt` are loaded again with a full refresh: after an hour, and while
/// new ones are expected with every one, unless they were loaded within the last tick.
[[nodiscard]] bool areInstallationsDue(Instant loadedAt, bool areExpected, Instant now);

} // namespace velmora
