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

} // namespace velmora
