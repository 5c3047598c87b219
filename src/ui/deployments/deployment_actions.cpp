// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_actions.h"

#include "monitor/environments.h"
#include "monitor/muted_repositories.h"
#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "presentation/environments_presentation.h"
#include "presentation/muting_texts.h"

#include <QMenu>

#include <utility>

namespace velmora
{

namespace
{

/// The shortcut that is shown beside an entry of the menu.
QKeySequence shortcut(RowActionKind action)
{
    switch (action) {
    case RowActionKind::OpenDetails:
        return Qt::Key_Return;
    case RowActionKind::OpenEnvironment:
        return Qt::CTRL | Qt::Key_Return;
    case RowActionKind::CopyCommit:
        return QKeySequence::Copy;
    case RowActionKind::Dismiss:
        return Qt::Key_Delete;
    case RowActionKind::CopyDetailsLink:
    case RowActionKind::CopyEnvironmentLink:
    case RowActionKind::Restore:
    case RowActionKind::Mute:
    case RowActionKind::Unmute:
    case RowActionKind::NotifyEnvironment:
    case RowActionKind::ShowEnvironment:
    case RowActionKind::HideEnvironment:
        return {};
    }
    Q_UNREACHABLE();
}

/// The groups of the menu, between which it has separators.
enum class Group {
    Open,
    Copy,
    Dismiss,
    Mute,
};

Group groupOf(RowActionKind action)
{
    switch (action) {
    case RowActionKind::OpenDetails:
    case RowActionKind::OpenEnvironment:
        return Group::Open;
    case RowActionKind::CopyCommit:
    case RowActionKind::CopyDetailsLink:
    case RowActionKind::CopyEnvironmentLink:
        return Group::Copy;
    case RowActionKind::Dismiss:
    case RowActionKind::Restore:
        return Group::Dismiss;
    case RowActionKind::Mute:
    case RowActionKind::Unmute:
    case RowActionKind::NotifyEnvironment:
    case RowActionKind::ShowEnvironment:
    case RowActionKind::HideEnvironment:
        return Group::Mute;
    }
    Q_UNREACHABLE();
}

std::optional<EnvironmentChoice> choiceOf(RowActionKind action)
{
    switch (action) {
    case RowActionKind::NotifyEnvironment:
        return EnvironmentChoice::Notify;
    case RowActionKind::ShowEnvironment:
        return EnvironmentChoice::Show;
    case RowActionKind::HideEnvironment:
        return EnvironmentChoice::Hide;
    default:
        return std::nullopt;
    }
}

/// Without the meaning that an ampersand has in menus.
QString menuText(QString text)
{
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

} // namespace

DeploymentActions::DeploymentActions(URLOpener *urlOpener, Pasteboard *pasteboard, QObject *parent)
    : QObject(parent)
    , m_urlOpener(urlOpener)
    , m_pasteboard(pasteboard)
{
}

QList<RowAction> DeploymentActions::allActions(const DeploymentSnapshot &deployment, const FailureMark &mark) const
{
    QList<RowAction> actions = rowActions(deployment);
    if (const auto action = dismissal(deployment, mark))
        actions.append(*action);
    if (m_muted) {
        const bool isMuted = m_muted->isMuted(deployment.repositoryNodeID);
        actions.append(
            {isMuted ? RowActionKind::Unmute : RowActionKind::Mute, mutingAction(deployment.repositoryName, isMuted)});
    }
    return actions + choices(deployment);
}

/// The choices that do not hold for the deployment now.
QList<RowAction> DeploymentActions::choices(const DeploymentSnapshot &deployment) const
{
    using enum RowActionKind;
    QList<RowAction> actions;
    if (!m_environments)
        return actions;
    const EnvironmentRule present = m_environments->ruleOf(deployment);
    for (const RowActionKind kind : {NotifyEnvironment, ShowEnvironment, HideEnvironment}) {
        if (choiceOf(kind) != present.choice)
            actions.append({kind, environmentAction(*choiceOf(kind), present.target())});
    }
    return actions;
}

void DeploymentActions::perform(RowActionKind action, const DeploymentSnapshot &deployment)
{
    if (groupOf(action) == Group::Dismiss) {
        if (isFailure(deployment.state))
            Q_EMIT dismissalChosen({deployment.id}, action == RowActionKind::Dismiss);
        return;
    }
    if (action == RowActionKind::Mute)
        return m_muted->mute(deployment.repositoryNodeID);
    if (action == RowActionKind::Unmute)
        return m_muted->unmute(deployment.repositoryNodeID);
    if (const auto choice = choiceOf(action)) {
        EnvironmentRule rule = m_environments->ruleOf(deployment);
        rule.choice = *choice;
        return m_environments->choose({rule});
    }
    const bool isDetails = action == RowActionKind::OpenDetails || action == RowActionKind::CopyDetailsLink;
    const auto address = isDetails ? rowAddress(deployment) : environmentAddress(deployment);
    if (action == RowActionKind::CopyCommit)
        m_pasteboard->setText(deployment.commitOID);
    else if (address && groupOf(action) == Group::Open)
        m_urlOpener->open(*address);
    else if (address)
        m_pasteboard->setText(address->text());
}

void DeploymentActions::addTo(QMenu *menu, const DeploymentSnapshot &deployment, const FailureMark &mark)
{
    const QList<RowAction> actions = allActions(deployment, mark);
    Group group = groupOf(actions.first().kind);
    for (const RowAction &entry : actions) {
        if (std::exchange(group, groupOf(entry.kind)) != groupOf(entry.kind))
            menu->addSeparator();
        auto *action = menu->addAction(menuText(entry.text));
        action->setShortcut(shortcut(entry.kind));
        action->setShortcutVisibleInContextMenu(true);
        connect(
            action, &QAction::triggered, this, [this, deployment, kind = entry.kind] { perform(kind, deployment); });
    }
}

QList<AccessibleAction> DeploymentActions::accessible(const DeploymentSnapshot &deployment, const FailureMark &mark)
{
    QList<AccessibleAction> actions;
    for (const RowAction &action : allActions(deployment, mark)) {
        const auto later = [this, deployment, kind = action.kind] {
            perform(kind, deployment);
        };
        const auto queue = [this, later] {
            QMetaObject::invokeMethod(this, later, Qt::QueuedConnection);
        };
        const bool isClick = action.kind == RowActionKind::OpenDetails;
        actions.append({isClick ? QAccessibleActionInterface::pressAction() : action.text, action.text, queue});
    }
    return actions;
}

} // namespace velmora
