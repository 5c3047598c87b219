// SPDX-License-Identifier: MIT
#pragma once

#include "ui/controls/searched_list_view.h"

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
/// and Control M, mute or unmute it.
class RepositoryListView final : public SearchedListView
{
    Q_OBJECT

public:
    explicit RepositoryListView(RepositoryListModel *model, QWidget *parent = nullptr);

    [[nodiscard]] QList<AccessibleAction> accessibleActions(const QModelIndex &index) override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void click(const QModelIndex &index);
    void toggle(const QModelIndex &index);
    void toggleMuted(const QModelIndex &index);
    [[nodiscard]] bool isOnBell(const QModelIndex &index, const QPoint &point) const;

    RepositoryListModel *m_model;
    QPoint m_pressed; ///< where the mouse was pressed last
    QPoint m_released; ///< where it was released
};

} // namespace velmora
