// SPDX-License-Identifier: MIT
#include "monitor/presentation.h"

namespace velmora
{

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
    const DeploymentMonitorState &state, const QList<DeploymentSnapshot> &deployments)
{
    DeploymentMonitorPresentation result{state.state};
    if (state.state != DeploymentMonitorState::Case::Ready)
        return result;
    for (const auto &deployment : deployments) {
        if (isActive(deployment.state))
            ++result.activeCount;
        else if (isFailure(deployment.state))
            ++result.failedCount;
    }
    return result;
}

} // namespace velmora
