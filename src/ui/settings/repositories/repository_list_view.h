// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility/accessible_list.h"

#include <QListView>
#include <QStyledItemDelegate>

namespace velmora
{

class RepositoryListModel;

/// Draws a row of a RepositoryListModel: the name above the login, and a bell and a switch at the end. Space switches
/// the row, and Control M mutes it.
class RepositoryRowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    /// Where a click means the bell.
    [[nodiscard]] static QRect bellPlace(const QStyleOptionViewItem &option);
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
        const QModelIndex &index) override;

protected:
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
        const QModelIndex &index) override;
};

/// The list of repositories. A click on a row switches it, and so does Space on the focused row; a click on its bell,
/// and Control M, mute or unmute it. Printable keys and Backspace are left to the parent. The focused row keeps the
/// focus as long as the search finds it.
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
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    /// Treats a double click as two clicks.
    void mouseDoubleClickEvent(QMouseEvent *event) override { mousePressEvent(event); }
    void changeEvent(QEvent *event) override;

private:
    void click(const QModelIndex &index);
    void toggle(const QModelIndex &index);
    void toggleMuted(const QModelIndex &index);
    [[nodiscard]] bool isOnBell(const QModelIndex &index, const QPoint &point) const;
    void restoreFocus();
    void focusNeighbour();
    void announce(const QModelIndex &first, const QModelIndex &last);

    RepositoryListModel *m_model;
    QString m_focused; ///< the node id of the focused row, during a reset of the model
    QPoint m_pressed; ///< where the mouse was pressed last
    QPoint m_released; ///< where it was released
    int m_focusedRow = -1; ///< the row with the focus, during a change of layout
};

} // namespace velmora
