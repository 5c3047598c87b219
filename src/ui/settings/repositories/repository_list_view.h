// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility/accessible_list.h"

#include <QListView>
#include <QStyledItemDelegate>

namespace velmora
{

class RepositoryListModel;

/// Draws a row of a RepositoryListModel: the name above the login, and a switch at the end. Space switches the row.
class RepositoryRowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
        const QModelIndex &index) override;

protected:
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
        const QModelIndex &index) override;
};

/// The list of repositories. A click on a row switches it, and so does Space on the focused row; printable keys and
/// Backspace are left to the parent. The focused row keeps the focus as long as the search finds it.
class RepositoryListView final : public QListView, public AccessibleRows
{
    Q_OBJECT

public:
    explicit RepositoryListView(RepositoryListModel *model, QWidget *parent = nullptr);

    /// Takes the focus, at the row that had it last, or at the first.
    void focusRow();

    [[nodiscard]] QList<AccessibleAction> accessibleActions(const QModelIndex &index) override;

Q_SIGNALS:
    /// Up was pressed on the first row.
    void leftAtTop();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    /// Treats a double click as two clicks.
    void mouseDoubleClickEvent(QMouseEvent *event) override { mousePressEvent(event); }
    void changeEvent(QEvent *event) override;

private:
    void toggle(const QModelIndex &index);
    void restoreFocus();
    void focusNeighbour();
    void announce(const QModelIndex &first, const QModelIndex &last);

    RepositoryListModel *m_model;
    QString m_focused; ///< the node id of the focused row, during a reset of the model
    int m_focusedRow = -1; ///< the row with the focus, during a change of layout
};

} // namespace velmora
