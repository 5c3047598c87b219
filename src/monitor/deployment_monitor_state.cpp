// SPDX-License-Identifier: MIT
#include "monitor/deployment_monitor_state.h"

namespace velmora
{

QString rawValue(DeploymentMonitorState::Case state)
{
    switch (state) {
    case DeploymentMonitorState::Case::Loading:
        return QStringLiteral("loading");
    case DeploymentMonitorState::Case::Ready:
        return QStringLiteral("ready");
    case DeploymentMonitorState::Case::Stale:
        return QStringLiteral("stale");
    case DeploymentMonitorState::Case::RateLimited:
        return QStringLiteral("rateLimited");
    case DeploymentMonitorState::Case::Disconnected:
        return QStringLiteral("disconnected");
    }
    Q_UNREACHABLE();
}

QString rawValue(MissingStep step)
{
    switch (step) {
    case MissingStep::Account:
        return QStringLiteral("account");
    case MissingStep::Installation:
        return QStringLiteral("installation");
    case MissingStep::Access:
        return QStringLiteral("access");
    case MissingStep::Selection:
        return QStringLiteral("selection");
    }
    Q_UNREACHABLE();
}

QString DeploymentMonitorPresentation::symbol() const
{
    switch (state) {
    case DeploymentMonitorState::Case::Ready:
        if (activeCount > 0)
            return QStringLiteral("arrow.up.circle.fill");
        if (failedCount > 0)
            return QStringLiteral("exclamationmark.triangle.fill");
        return QStringLiteral("checkmark.circle");
    case DeploymentMonitorState::Case::Loading:
        return QStringLiteral("arrow.triangle.2.circlepath");
    case DeploymentMonitorState::Case::Stale:
        return QStringLiteral("exclamationmark.circle");
    case DeploymentMonitorState::Case::RateLimited:
        return QStringLiteral("clock.badge.exclamationmark");
    case DeploymentMonitorState::Case::Disconnected:
        return QStringLiteral("arrow.up.circle.dotted");
    }
    Q_UNREACHABLE();
}

QString DeploymentMonitorPresentation::title() const
{
    if (state == DeploymentMonitorState::Case::Ready && activeCount > 0)
        return QString::number(activeCount);
    return QStringLiteral("Velmora");
}

DeploymentMonitorPresentation presentation(
    const DeploymentMonitorState &state, const DeploymentList &deployments, const FailureMarks &marks)
{
    DeploymentMonitorPresentation result{state.state};
    if (state.state != DeploymentMonitorState::Case::Ready)
        return result;
    for (const auto &deployment : deployments) {
        if (isActive(deployment.state()))
            ++result.activeCount;
        else if (isFailure(deployment.state()))
            ++result.failedCount;
    }
    result.failedCount -= uncounted(marks);
    return result;
}

} // namespace velmora
