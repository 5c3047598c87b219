// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_line.h"
#include "control/monitor_report.h"

namespace velmora
{

/// Finds in successive reports the one deployment that `wait` waits for, and how it ends.
///
/// It is chosen once: in the first current report the newest of the awaited deployments if that is under way, or, when
/// a commit was named, in any state; else the newest of those that are created later.
class DeploymentWait
{
public:
    enum class Result {
        Succeeded,
        Failed,
        Gone, ///< not listed any more without having succeeded: another deployment took its place
    };

    /// Which reports are current enough to choose from, and to miss a deployment in.
    enum class Currency {
        OfAllIdentities, ///< every identity has answered
        OfAny, ///< some identity may have failed; for when one fails anyway
    };

    DeploymentWait(AwaitedDeployments awaited, Currency currency)
        : m_awaited(std::move(awaited))
        , m_currency(currency)
    {
    }

    /// Takes the next report. Returns how the chosen deployment ended, if it has.
    [[nodiscard]] std::optional<Result> resultAfter(const MonitorReport &report);

    /// The chosen deployment as it was listed last.
    [[nodiscard]] const std::optional<DeploymentSnapshot> &deployment() const { return m_deployment; }

private:
    void choose(const DeploymentList &deployments);
    [[nodiscard]] bool isAwaited(const DeploymentSnapshot &deployment) const;
    [[nodiscard]] bool isCurrent(const DeploymentMonitorState &state) const;

    AwaitedDeployments m_awaited;
    Currency m_currency;
    std::optional<Instant> m_start; ///< the creation of the newest awaited deployment at the start
    std::optional<DeploymentSnapshot> m_deployment;
};

} // namespace velmora
