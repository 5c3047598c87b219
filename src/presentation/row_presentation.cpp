// SPDX-License-Identifier: MIT
#include "presentation/row_presentation.h"

#include "presentation/deployment_sections.h"
#include "presentation/relative_time.h"
#include "support/foreign_text.h"

#include <QDateTime>
#include <QLocale>
#include <QStringList>
#include <QTextDocument>

namespace velmora
{

namespace
{

// Longer than any window is wide.
constexpr qsizetype kLineLimit = 300;
constexpr qsizetype kDescriptionLimit = 500;

QString localTime(Instant instant)
{
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(instant.time_since_epoch());
    return QLocale().toString(QDateTime::fromMSecsSinceEpoch(milliseconds.count()), QLocale::ShortFormat);
}

/// The host in its ASCII form, so that no look-alike letters can imitate another host.
QString hostOf(const WebAddress &address)
{
    return address.url().host(QUrl::FullyEncoded);
}

/// The address, if it may be opened.
std::optional<WebAddress> openable(std::optional<WebAddress> address)
{
    return address && address->isOpenable() ? std::move(address) : std::nullopt;
}

} // namespace

StateIcon stateIcon(DeploymentState state)
{
    switch (state) {
    case DeploymentState::Queued:
    case DeploymentState::Pending:
        return {u"clock", Tone::Orange, u'○'};
    case DeploymentState::Waiting:
        return {u"pause.circle.fill", Tone::Orange, u'‖'};
    case DeploymentState::InProgress:
        return {u"arrow.triangle.2.circlepath", Tone::Blue, u'◐'};
    case DeploymentState::Success:
        return {u"checkmark.circle.fill", Tone::Green, u'✓'};
    case DeploymentState::Failure:
    case DeploymentState::Error:
        return {u"xmark.circle.fill", Tone::Red, u'✗'};
    case DeploymentState::Inactive:
        return {u"minus.circle", Tone::Secondary, u'–'};
    case DeploymentState::Unknown:
        return {u"questionmark.circle", Tone::Secondary, u'?'};
    }
    Q_UNREACHABLE();
}

QString stateWords(DeploymentState state)
{
    switch (state) {
    case DeploymentState::Queued:
        return QStringLiteral("queued");
    case DeploymentState::Pending:
        return QStringLiteral("pending");
    case DeploymentState::Waiting:
        return QStringLiteral("waiting");
    case DeploymentState::InProgress:
        return QStringLiteral("in progress");
    case DeploymentState::Success:
        return QStringLiteral("succeeded");
    case DeploymentState::Failure:
        return QStringLiteral("failed");
    case DeploymentState::Error:
        return QStringLiteral("ended in an error");
    case DeploymentState::Inactive:
        return QStringLiteral("inactive");
    case DeploymentState::Unknown:
        return QStringLiteral("state unknown");
    }
    Q_UNREACHABLE();
}

QString stateAndElapsed(const DeploymentSnapshot &deployment, Instant now)
{
    const QString elapsed = elapsedText(deployment, now);
    return elapsed.isEmpty() ? stateWords(deployment.state) : stateWords(deployment.state) + QLatin1Char(' ') + elapsed;
}

QString shownOnOneLine(const QString &text)
{
    return presentableText(text, kLineLimit).replace(QLatin1Char('\n'), QLatin1Char(' '));
}

QString rowSentence(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark)
{
    QStringList parts{deployment.repositoryName, deployment.environment, stateWords(deployment.state)};
    parts += deploymentDetails(deployment, now, mark);
    for (QString &part : parts)
        part = shownOnOneLine(part);
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

QString rowToolTip(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark)
{
    QStringList lines{shownOnOneLine(deployment.repositoryName),
        shownOnOneLine(deployment.environment) + QStringLiteral(" · ") + stateAndElapsed(deployment, now)};
    if (deployment.refName)
        lines.append(shownOnOneLine(*deployment.refName));
    lines.append(shownOnOneLine(deployment.commitOID));
    lines.append(relativeTime(deployment.updatedAt, now) + QStringLiteral(" · ") + localTime(deployment.updatedAt));
    lines += markDetails(mark, now);
    if (deployment.creatorLogin)
        lines.append(QStringLiteral("Created by %1").arg(shownOnOneLine(*deployment.creatorLogin)));
    if (deployment.statusDescription)
        lines.append(presentableText(*deployment.statusDescription, kDescriptionLimit));
    // A log may be on any host, so the tooltip names it.
    if (const auto address = rowAddress(deployment))
        lines.append(QStringLiteral("Opens %1").arg(shownOnOneLine(hostOf(*address))));
    lines.removeAll(QString());
    return Qt::convertFromPlainText(lines.join(QLatin1Char('\n')), Qt::WhiteSpaceNormal);
}

QString linkToolTip(const DeploymentSnapshot &deployment)
{
    return Qt::convertFromPlainText(
        QStringLiteral("Open %1").arg(shownOnOneLine(deployment.environment)), Qt::WhiteSpaceNormal);
}

std::optional<WebAddress> rowAddress(const DeploymentSnapshot &deployment)
{
    return openable(detailsURL(deployment));
}

std::optional<WebAddress> environmentAddress(const DeploymentSnapshot &deployment)
{
    return openable(deployment.environmentURL);
}

QString rowKeys(const DeploymentSnapshot &deployment)
{
    QStringList keys;
    if (rowAddress(deployment))
        keys.append(hasLogPage(deployment) ? QStringLiteral("Return opens the log.")
                                           : QStringLiteral("Return opens the deployments page."));
    if (environmentAddress(deployment))
        keys.append(QStringLiteral("Control Return opens the environment."));
    return keys.join(QLatin1Char(' '));
}

QList<RowAction> rowActions(const DeploymentSnapshot &deployment)
{
    const bool canOpen = rowAddress(deployment).has_value();
    const bool hasEnvironment = environmentAddress(deployment).has_value();
    QList<RowAction> actions;
    if (canOpen)
        actions.append({RowActionKind::OpenDetails,
            hasLogPage(deployment) ? QStringLiteral("Open log") : QStringLiteral("Open deployments page")});
    if (hasEnvironment)
        actions.append({RowActionKind::OpenEnvironment, QStringLiteral("Open environment")});
    actions.append({RowActionKind::CopyCommit, QStringLiteral("Copy commit ID")});
    if (canOpen)
        actions.append({RowActionKind::CopyDetailsLink,
            hasLogPage(deployment) ? QStringLiteral("Copy link to log")
                                   : QStringLiteral("Copy link to deployments page")});
    if (hasEnvironment)
        actions.append({RowActionKind::CopyEnvironmentLink, QStringLiteral("Copy link to environment")});
    return actions;
}

std::optional<RowAction> dismissal(const DeploymentSnapshot &deployment, const FailureMark &mark)
{
    if (!isFailure(deployment.state))
        return std::nullopt;
    return mark.isDismissed ? RowAction{RowActionKind::Restore, QStringLiteral("Restore")}
                            : RowAction{RowActionKind::Dismiss, QStringLiteral("Dismiss")};
}

QString dismissAllText()
{
    return QStringLiteral("Dismiss all");
}

QString dismissalKey()
{
    return QStringLiteral("Delete dismisses the failure.");
}

} // namespace velmora
