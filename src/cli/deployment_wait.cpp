// SPDX-License-Identifier: MIT
#include "cli/deployment_wait.h"

namespace velmora
{

namespace
{

bool isSame(const QString &left, const QString &right)
{
    return left.compare(right, Qt::CaseInsensitive) == 0;
}

/// A state that is unknown may still turn into a result.
std::optional<DeploymentWait::Result> resultOf(DeploymentState state)
{
    if (isActive(state) || state == DeploymentState::Unknown)
        return std::nullopt;
    return state == DeploymentState::Success ? DeploymentWait::Result::Succeeded : DeploymentWait::Result::Failed;
}

} // namespace

std::optional<DeploymentWait::Result> DeploymentWait::resultAfter(const MonitorReport &report)
{
    // A script waits for what it names, whether windows list it or not.
    const DeploymentList all = report.hidden.isEmpty() ? report.deployments : report.deployments + report.hidden;
    if (!m_deployment && isCurrent(report.state))
        choose(all);
    if (!m_deployment)
        return std::nullopt;
    const auto found
        = std::ranges::find_if(all, [this](const SharedDeployment &known) { return known->id == m_deployment->id; });
    if (found == all.end())
        return isCurrent(report.state) ? std::optional(Result::Gone) : std::nullopt;
    m_deployment = **found;
    return resultOf(m_deployment->state);
}

void DeploymentWait::choose(const DeploymentList &deployments)
{
    const SharedDeployment *newest = nullptr;
    for (const SharedDeployment &listed : deployments) {
        if (isAwaited(*listed) && (!newest || listed->createdAt > (*newest)->createdAt))
            newest = &listed;
    }
    const bool isFirst = !m_start;
    if (isFirst)
        m_start = newest ? (*newest)->createdAt : distantPast();
    if (!newest)
        return;
    const bool isChosen
        = isFirst ? isActive(newest->state()) || !m_awaited.commit.isEmpty() : (*newest)->createdAt > *m_start;
    if (isChosen)
        m_deployment = **newest;
}

bool DeploymentWait::isAwaited(const DeploymentSnapshot &deployment) const
{
    return isSame(deployment.repositoryName, m_awaited.repository)
        && (m_awaited.environment.isEmpty() || isSame(deployment.environment, m_awaited.environment))
        && deployment.commitOID.startsWith(m_awaited.commit, Qt::CaseInsensitive);
}

/// What is loading was saved earlier. While an identity fails or is paused, its deployments are those of before.
bool DeploymentWait::isCurrent(const DeploymentMonitorState &state) const
{
    using Case = DeploymentMonitorState::Case;
    return state.state == Case::Ready || (m_currency == Currency::OfAny && state.state != Case::Loading);
}

} // namespace velmora
