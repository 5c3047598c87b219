// SPDX-License-Identifier: MIT
#include "ui/controls/searched_list_view.h"

#include "ui/accessibility/accessible_part.h"
#include "ui/controls/keyed_list_model.h"
#include "ui/controls/search_field.h"

#include <QAccessible>
#include <QKeyEvent>

namespace velmora
{

SearchedListView::SearchedListView(KeyedListModel *model, QWidget *parent)
    : QListView(parent)
    , m_rows(model)
{
    installAccessible<SearchedListView, AccessibleList>();
    setModel(model);
    // All rows have the same size, so that of 10,000 rows Qt measures only one.
    setUniformItemSizes(true);
    setMouseTracking(true);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    viewport()->setAutoFillBackground(false);
    connect(model, &QAbstractItemModel::modelAboutToBeReset, this,
        [this] { m_focused = currentIndex().isValid() ? m_rows->keyOf(currentIndex().row()) : QString(); });
    connect(model, &QAbstractItemModel::modelReset, this, &SearchedListView::restoreFocus);
    connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this, [this] { m_focusedRow = currentIndex().row(); });
    connect(model, &QAbstractItemModel::layoutChanged, this, &SearchedListView::focusNeighbour);
    connect(model, &QAbstractItemModel::dataChanged, this, &SearchedListView::announce);
}

void SearchedListView::restoreFocus()
{
    const int row = m_focused.isEmpty() ? -1 : m_rows->rowOf(m_focused);
    m_focused.clear();
    if (row < 0)
        return scrollToTop();
    setCurrentIndex(m_rows->index(row));
}

/// Gives the focus of a row that has gone to the one in its place.
void SearchedListView::focusNeighbour()
{
    if (m_focusedRow >= 0 && !currentIndex().isValid())
        setCurrentIndex(m_rows->index(std::min(m_focusedRow, m_rows->rowCount() - 1)));
}

void SearchedListView::announce(const QModelIndex &first, const QModelIndex &last)
{
    const QModelIndex current = currentIndex();
    if (!current.isValid() || current.row() < first.row() || current.row() > last.row() || !hasFocus())
        return;
    QAccessibleEvent event(this, QAccessible::NameChanged);
    event.setChild(current.row());
    QAccessible::updateAccessibility(&event);
}

void SearchedListView::focusRow()
{
    if (m_rows->rowCount() == 0)
        return;
    if (!currentIndex().isValid())
        setCurrentIndex(m_rows->index(0));
    setFocus(Qt::OtherFocusReason);
}

void SearchedListView::keyPressEvent(QKeyEvent *event)
{
    const bool isCommand = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (SearchField::isTyping(*event) && event->key() != Qt::Key_Space)
        return event->ignore();
    if (event->key() == Qt::Key_Up && !isCommand && currentIndex().row() <= 0) {
        Q_EMIT leftAtTop();
        return;
    }
    QListView::keyPressEvent(event);
}

void SearchedListView::changeEvent(QEvent *event)
{
    QListView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        scheduleDelayedItemsLayout();
}

} // namespace velmora
