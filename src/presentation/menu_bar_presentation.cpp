// SPDX-License-Identifier: MIT
#include "presentation/menu_bar_presentation.h"

#include "presentation/relative_time.h"

#include <QStringList>

namespace velmora
{

namespace
{

MenuBarContent contentFor(MissingStep step)
{
    switch (step) {
    case MissingStep::Account: // a session has appeared since the monitor reported this; nothing is known of it yet
        return MenuBarContent::NoDeployments;
    case MissingStep::Installation:
        return MenuBarContent::NotInstalled;
    case MissingStep::Access:
        return MenuBarContent::NoAccess;
    case MissingStep::Selection:
        return MenuBarContent::NothingSelected;
    }
    Q_UNREACHABLE();
}

} // namespace

MenuBarContent menuBarContent(const MenuBarSituation &situation)
{
    if (situation.hasPendingAuthorization)
        return MenuBarContent::CodePanel;
    if (!situation.hasAccount)
        return MenuBarContent::ConnectionPrompt;
    if (situation.monitor.state == DeploymentMonitorState::Case::Loading && !situation.monitor.hasContent)
        return MenuBarContent::Loading;
    if (situation.hasDeployments)
        return MenuBarContent::List;
    return situation.monitor.missing ? contentFor(*situation.monitor.missing) : MenuBarContent::NoDeployments;
}

QString loadingDeploymentsText()
{
    return QStringLiteral("Loading deployments…");
}

QString noDeploymentsText()
{
    return QStringLiteral("No recent deployments");
}

QString noDeploymentsExplanation()
{
    return QStringLiteral("Active deployments and results from the last 24 hours appear here.");
}

std::optional<Instant> shownUpdateTime(const DeploymentMonitorState &state)
{
    switch (state.state) {
    case DeploymentMonitorState::Case::Ready:
    case DeploymentMonitorState::Case::Stale:
    case DeploymentMonitorState::Case::RateLimited:
        return state.lastUpdatedAt;
    case DeploymentMonitorState::Case::Loading:
    case DeploymentMonitorState::Case::Disconnected:
        return std::nullopt;
    }
    Q_UNREACHABLE();
}

QString updatedText(std::optional<Instant> updatedAt, Instant now)
{
    return updatedAt ? QStringLiteral("Updated %1").arg(relativeTime(*updatedAt, now)) : QString();
}

QString stretchedText(qint64 refreshIntervalSeconds)
{
    return QStringLiteral("Refreshing every %1 seconds, to stay within GitHub's limit").arg(refreshIntervalSeconds);
}

QString statusExplanation(const DeploymentMonitorState &state, const QString &message)
{
    QStringList lines;
    if (state.state == DeploymentMonitorState::Case::Stale)
        lines.append(QStringLiteral("Showing saved deployment data."));
    if (state.refreshIntervalSeconds)
        lines.append(stretchedText(*state.refreshIntervalSeconds));
    if (!message.isEmpty())
        lines.append(message);
    return lines.join(QLatin1Char('\n'));
}

QString noAccessDescription(const QList<InstallationRecord> &installations)
{
    const QString suspended = suspendedText(installations);
    return suspended.isEmpty() ? QStringLiteral("Velmora is installed, but no repository has been granted to it.")
                               : suspended;
}

bool canStartConnecting(GitHubSessionStatus connectionState)
{
    return connectionState != GitHubSessionStatus::RequestingCode
        && connectionState != GitHubSessionStatus::AwaitingAuthorization;
}

bool needsInstallations(const InstallationLoadingState &state, std::optional<Instant> installationsRefreshedAt)
{
    return !installationsRefreshedAt && state.state != InstallationLoadingState::Case::Loading;
}

} // namespace velmora
