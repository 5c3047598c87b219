// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_actions.h"

#include "platform/pasteboard.h"
#include "platform/url_opener.h"

#include <QMenu>

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
    case RowActionKind::CopyDetailsLink:
    case RowActionKind::CopyEnvironmentLink:
        return {};
    }
    Q_UNREACHABLE();
}

bool opensSomething(RowActionKind action)
{
    return action == RowActionKind::OpenDetails || action == RowActionKind::OpenEnvironment;
}

} // namespace

DeploymentActions::DeploymentActions(URLOpener *urlOpener, Pasteboard *pasteboard, QObject *parent)
    : QObject(parent)
    , m_urlOpener(urlOpener)
    , m_pasteboard(pasteboard)
{
}

void DeploymentActions::perform(RowActionKind action, const DeploymentSnapshot &deployment)
{
    const bool isDetails = action == RowActionKind::OpenDetails || action == RowActionKind::CopyDetailsLink;
    const auto address = isDetails ? rowAddress(deployment) : environmentAddress(deployment);
    if (action == RowActionKind::CopyCommit)
        m_pasteboard->setText(deployment.commitOID);
    else if (address && opensSomething(action))
        m_urlOpener->open(*address);
    else if (address)
        m_pasteboard->setText(address->text());
}

void DeploymentActions::addTo(QMenu *menu, const DeploymentSnapshot &deployment)
{
    bool opened = false;
    for (const RowAction &entry : rowActions(deployment)) {
        if (opened && !opensSomething(entry.kind))
            menu->addSeparator();
        opened = opensSomething(entry.kind);
        auto *action = menu->addAction(entry.text);
        action->setShortcut(shortcut(entry.kind));
        action->setShortcutVisibleInContextMenu(true);
        connect(
            action, &QAction::triggered, this, [this, deployment, kind = entry.kind] { perform(kind, deployment); });
    }
}

QList<AccessibleAction> DeploymentActions::accessible(const DeploymentSnapshot &deployment)
{
    QList<AccessibleAction> actions;
    for (const RowAction &action : rowActions(deployment)) {
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
