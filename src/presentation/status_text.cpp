// SPDX-License-Identifier: MIT
#include "presentation/status_text.h"

#include <QDateTime>
#include <QLocale>

namespace velmora
{

namespace
{

QString missingStepText(MissingStep step)
{
    switch (step) {
    case MissingStep::Account:
        return QStringLiteral("Connect GitHub");
    case MissingStep::Installation:
        return QStringLiteral("Install Velmora on GitHub");
    case MissingStep::Access:
        return QStringLiteral("No repositories granted");
    case MissingStep::Selection:
        return QStringLiteral("No repositories selected");
    }
    Q_UNREACHABLE();
}

QString shortTime(Instant instant)
{
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(instant.time_since_epoch());
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(milliseconds.count());
    return QLocale().toString(local.time(), QLocale::ShortFormat);
}

} // namespace

QString statusText(const DeploymentMonitorState &state, const DeploymentList &deployments)
{
    switch (state.state) {
    case DeploymentMonitorState::Case::Loading:
        return QStringLiteral("Refreshing deployments");
    case DeploymentMonitorState::Case::Ready:
        if (std::ranges::any_of(deployments, [](const auto &deployment) { return isActive(deployment.state()); }))
            return QStringLiteral("Deployment in progress");
        return QStringLiteral("GitHub deployments");
    case DeploymentMonitorState::Case::Stale:
        return QStringLiteral("Showing saved data");
    case DeploymentMonitorState::Case::RateLimited:
        return QStringLiteral("Paused until ") + shortTime(state.resumeAt.value_or(distantPast()));
    case DeploymentMonitorState::Case::Disconnected:
        return missingStepText(state.missing.value_or(MissingStep::Account));
    }
    return QString();
}

} // namespace velmora
