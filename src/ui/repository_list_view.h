// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessible_list.h"

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

/// The list of repositories. A click anywhere on a row switches it, as does Space on the row with the focus; whatever
/// else is typed is left to whoever is around. The row with the focus keeps it while the search still finds it.
class RepositoryListView final : public QListView, public AccessibleRows
{
    Q_OBJECT

public:
    explicit RepositoryListView(RepositoryListModel *model, QWidget *parent = nullptr);

    /// Takes the focus, at the row that had it last, else the first.
    void focusRow();

    [[nodiscard]] QList<AccessibleAction> accessibleActions(const QModelIndex &index) override;

Q_SIGNALS:
    /// Up was pressed on the first row.
    void leftAtTop();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    /// Two quick clicks are two clicks.
    void mouseDoubleClickEvent(QMouseEvent *event) override { mousePressEvent(event); }
    void changeEvent(QEvent *event) override;

private:
    void toggle(const QModelIndex &index);
    void restoreFocus();
    void announce(const QModelIndex &first, const QModelIndex &last);

    RepositoryListModel *m_model;
    QString m_focused; ///< the node id of the row with the focus, while the model starts anew
};

} // namespace velmora
