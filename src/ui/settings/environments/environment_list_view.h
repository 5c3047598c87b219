// SPDX-License-Identifier: MIT
#pragma once

#include "ui/controls/searched_list_view.h"

#include <QStyledItemDelegate>

namespace velmora
{

class EnvironmentListModel;

/// Draws a row of an EnvironmentListModel: the name above the number of repositories, and the choice at the end.
class EnvironmentRowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
        const QModelIndex &index) override;
    /// The place of the choice at the point; -1 for none.
    [[nodiscard]] static int choiceAt(const QStyleOptionViewItem &option, const QPoint &point);
};

/// The list of environments. A click on a word chooses it for the row. For the focused row Space goes from one choice
/// to the next, and Left and Right to the one beside it.
class EnvironmentListView final : public SearchedListView
{
    Q_OBJECT

public:
    explicit EnvironmentListView(EnvironmentListModel *model, QWidget *parent = nullptr);

    [[nodiscard]] QList<AccessibleAction> accessibleActions(const QModelIndex &index) override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    /// A word of a row.
    struct Target {
        QPersistentModelIndex index;
        int choice = -1;

        friend bool operator==(const Target &, const Target &) = default;
    };

    [[nodiscard]] Target targetAt(const QPoint &point) const;
    void choose(const QModelIndex &index, int choice);

    EnvironmentListModel *m_model;
    Target m_pressed;
};

} // namespace velmora
