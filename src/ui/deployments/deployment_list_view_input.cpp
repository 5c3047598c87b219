// SPDX-License-Identifier: MIT
// Mouse and keyboard of the list.
#include "ui/deployments/deployment_list_view.h"

#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "ui/deployments/deployment_list_model.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QToolTip>

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

void notifyAssistiveTechnology(QAbstractItemView *view, QAccessible::Event kind, const QModelIndex &index)
{
    if (!QAccessible::isActive() || !index.isValid())
        return;
    QAccessibleEvent event(view, kind);
    event.setChild(index.row());
    QAccessible::updateAccessibility(&event);
}

} // namespace

void DeploymentListView::perform(RowActionKind action, const DeploymentSnapshot &deployment)
{
    const auto details = rowAddress(deployment);
    const auto environment = environmentAddress(deployment);
    switch (action) {
    case RowActionKind::OpenDetails:
        if (details)
            m_ports.urlOpener->open(*details);
        break;
    case RowActionKind::OpenEnvironment:
        if (environment)
            m_ports.urlOpener->open(*environment);
        break;
    case RowActionKind::CopyCommit:
        m_ports.pasteboard->setText(deployment.commitOID);
        break;
    case RowActionKind::CopyDetailsLink:
        if (details)
            m_ports.pasteboard->setText(details->text());
        break;
    case RowActionKind::CopyEnvironmentLink:
        if (environment)
            m_ports.pasteboard->setText(environment->text());
        break;
    }
}

QList<AccessibleAction> DeploymentListView::accessibleActions(const QModelIndex &index)
{
    QList<AccessibleAction> actions;
    const auto *deployment = m_model->deployment(index.row());
    if (!deployment)
        return actions;
    for (const RowAction &action : rowActions(*deployment)) {
        // Queued, because the caller must not wait for a browser. Copied, because the list may change before it runs.
        const auto perform = [this, kind = action.kind, shown = *deployment] {
            const auto later = [this, kind, shown] {
                this->perform(kind, shown);
            };
            QMetaObject::invokeMethod(this, later, Qt::QueuedConnection);
        };
        const bool isClick = action.kind == RowActionKind::OpenDetails;
        actions.append({isClick ? QAccessibleActionInterface::pressAction() : action.text, action.text, perform});
    }
    return actions;
}

DeploymentListView::Target DeploymentListView::targetAt(const QPoint &point) const
{
    const QModelIndex index = indexAt(point);
    // indexAt() counts the padding below a section to its last row; here it belongs to none.
    if (!viewport()->rect().contains(point) || !visualRect(index).contains(point))
        return {};
    const auto *deployment = m_model->deployment(index.row());
    if (!deployment)
        return {};
    return {index, m_rowView.parts(visualRect(index), *deployment).link.contains(point)};
}

void DeploymentListView::updateTarget(const Target &target)
{
    if (target.index.isValid())
        viewport()->update(visualRect(target.index));
}

void DeploymentListView::setHovered(const Target &target)
{
    if (m_hovered == target)
        return;
    updateTarget(m_hovered);
    m_hovered = target;
    updateTarget(m_hovered);
    viewport()->setCursor(target.isLink ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void DeploymentListView::setPressed(const Target &target)
{
    updateTarget(m_pressed);
    m_pressed = target;
    updateTarget(m_pressed);
}

/// Scrolling moves the rows below a mouse that rests.
void DeploymentListView::updateHover()
{
    if (m_isShown && viewport()->underMouse())
        setHovered(targetAt(viewport()->mapFromGlobal(QCursor::pos())));
}

void DeploymentListView::mouseMoveEvent(QMouseEvent *event)
{
    setHovered(targetAt(event->position().toPoint()));
}

void DeploymentListView::mousePressEvent(QMouseEvent *event)
{
    showsCurrentRow(false);
    const Target target = targetAt(event->position().toPoint());
    setHovered(target);
    if (event->button() != Qt::LeftButton || !target.index.isValid())
        return;
    setCurrentIndex(target.index);
    setPressed(target);
}

void DeploymentListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    // Treat the second press of a double click as an ordinary press.
    mousePressEvent(event);
}

void DeploymentListView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const Target pressed = m_pressed;
    setPressed({});
    if (!pressed.index.isValid() || !(targetAt(event->position().toPoint()) == pressed))
        return;
    if (const auto *deployment = m_model->deployment(pressed.index.row()))
        perform(pressed.isLink ? RowActionKind::OpenEnvironment : RowActionKind::OpenDetails, *deployment);
}

bool DeploymentListView::viewportEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::ToolTip: {
        const auto *help = static_cast<QHelpEvent *>(event);
        showToolTip(help->pos(), help->globalPos());
        return true;
    }
    case QEvent::Leave:
        setHovered({});
        break;
    default:
        break;
    }
    return QListView::viewportEvent(event);
}

void DeploymentListView::showToolTip(const QPoint &point, const QPoint &globalPoint)
{
    const Target target = targetAt(point);
    const auto *deployment = target.index.isValid() ? m_model->deployment(target.index.row()) : nullptr;
    if (!deployment) {
        QToolTip::hideText();
        return;
    }
    const QRect frame = visualRect(target.index);
    const QRect place = target.isLink ? m_rowView.parts(frame, *deployment).link : frame;
    const QString text = target.isLink ? linkToolTip(*deployment) : rowToolTip(*deployment, m_ports.clock->now());
    QToolTip::showText(globalPoint, text, viewport(), place);
}

void DeploymentListView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Mouse) {
        showMenu(targetAt(event->pos()).index, event->globalPos());
    } else if (const QModelIndex current = currentIndex(); current.isValid()) {
        scrollTo(current);
        showMenu(current, viewport()->mapToGlobal(visualRect(current).center()));
    }
    event->accept();
}

void DeploymentListView::showMenu(const QModelIndex &index, const QPoint &globalPoint)
{
    const auto *shown = index.isValid() ? m_model->deployment(index.row()) : nullptr;
    if (!shown)
        return;
    // Copied, because the row may be removed while the menu is open.
    const DeploymentSnapshot deployment = *shown;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    bool opened = false;
    const auto actions = rowActions(deployment);
    for (const RowAction &entry : actions) {
        if (opened && !opensSomething(entry.kind))
            menu->addSeparator();
        opened = opensSomething(entry.kind);
        auto *action = menu->addAction(entry.text);
        action->setShortcut(shortcut(entry.kind));
        action->setShortcutVisibleInContextMenu(true);
        connect(
            action, &QAction::triggered, this, [this, deployment, kind = entry.kind] { perform(kind, deployment); });
    }
    menu->popup(globalPoint);
}

int DeploymentListView::neighbour(int row, int step) const
{
    for (int next = row + step; next >= 0 && next < m_model->rowCount(); next += step) {
        if (!m_model->isHeader(next))
            return next;
    }
    return row;
}

QModelIndex DeploymentListView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    Q_UNUSED(modifiers)
    const int count = m_model->rowCount();
    if (count == 0)
        return {};
    const int row = currentIndex().row();
    const int page = std::max(1, viewport()->height() / m_rowView.height() - 1);
    const auto at = [this](int target, int step) {
        return m_model->index(m_model->isHeader(target) ? neighbour(target, step) : target);
    };
    if (row < 0)
        return action == MoveEnd ? at(count - 1, -1) : at(0, 1);
    switch (action) {
    case MoveDown:
    case MoveNext:
        return m_model->index(neighbour(row, 1));
    case MoveUp:
    case MovePrevious:
        return m_model->index(neighbour(row, -1));
    case MoveHome:
        return at(0, 1);
    case MoveEnd:
        return at(count - 1, -1);
    case MovePageDown:
        return at(std::min(count - 1, row + page), -1);
    case MovePageUp:
        return at(std::max(0, row - page), 1);
    default:
        return currentIndex();
    }
}

void DeploymentListView::keyPressEvent(QKeyEvent *event)
{
    const auto *deployment = currentIndex().isValid() ? m_model->deployment(currentIndex().row()) : nullptr;
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool isPress = (isReturn || event->key() == Qt::Key_Space) && modifiers == Qt::NoModifier;
    if (deployment && isPress) {
        // Holding the key down must not open the page repeatedly.
        if (!event->isAutoRepeat())
            perform(RowActionKind::OpenDetails, *deployment);
    } else if (deployment && isReturn && modifiers == Qt::ControlModifier) {
        if (!event->isAutoRepeat())
            perform(RowActionKind::OpenEnvironment, *deployment);
    } else if (deployment && event->matches(QKeySequence::Copy)) {
        perform(RowActionKind::CopyCommit, *deployment);
    } else {
        showsCurrentRow(true);
        QListView::keyPressEvent(event);
    }
}

void DeploymentListView::showsCurrentRow(bool shows)
{
    if (m_showsCurrentRow == shows)
        return;
    m_showsCurrentRow = shows;
    if (currentIndex().isValid())
        viewport()->update(visualRect(currentIndex()));
}

// QListView stores the position of each row and updates them in some of these functions. This view computes positions
// instead, so it skips QListView and calls its bases.
// NOLINTBEGIN(bugprone-parent-virtual-call)

void DeploymentListView::focusInEvent(QFocusEvent *event)
{
    const bool cameByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    showsCurrentRow(cameByKey);
    // With focus from the mouse or the window there is no current row yet; the first key selects the first row.
    if (cameByKey && !currentIndex().isValid())
        setCurrentIndex(moveCursor(MoveHome, Qt::NoModifier));
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update(visualRect(currentIndex()));
}

void DeploymentListView::keyboardSearch(const QString &search)
{
    const QPersistentModelIndex before = currentIndex();
    QListView::keyboardSearch(search);
    // Headers are not selectable.
    if (currentIndex().isValid() && m_model->isHeader(currentIndex().row()))
        setCurrentIndex(before);
}

void DeploymentListView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QAbstractItemView::currentChanged(current, previous);
    if (!m_isUpdating && current.isValid())
        scrollTo(current);
    if (hasFocus())
        notifyAssistiveTechnology(this, QAccessible::Focus, current);
}

void DeploymentListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
    const QModelIndexList indexes = selected.indexes();
    for (const QModelIndex &index : indexes)
        notifyAssistiveTechnology(this, QAccessible::Selection, index);
}

// NOLINTEND(bugprone-parent-virtual-call)

void DeploymentListView::setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command)
{
    const QModelIndex index = indexAt(rect.center());
    selectionModel()->select(index.isValid() ? QItemSelection(index, index) : QItemSelection(), command);
}

} // namespace velmora
