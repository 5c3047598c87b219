// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QHash>
#include <QPersistentModelIndex>
#include <QPointer>

#include <functional>
#include <memory>

namespace velmora
{

/// An action that assistive technology can run on a row. The first action of a row does the same as a click.
struct AccessibleAction {
    QString name; ///< "Press", "Toggle", or the action in words
    QString description;
    std::function<void()> perform;
};

/// Implemented by a list whose rows offer actions. Qt's own accessible row can only be selected.
class AccessibleRows
{
public:
    virtual ~AccessibleRows() = default;
    [[nodiscard]] virtual QList<AccessibleAction> accessibleActions(const QModelIndex &index) = 0;
};

/// The accessible object of a list of one column, with an item for each row. An item is made when assistive technology
/// asks for it, so that other rows cost nothing.
class AccessibleList final : public QAccessibleWidget
{
public:
    /// For a view that is itself the AccessibleRows.
    template <typename View>
    explicit AccessibleList(View *view)
        : AccessibleList(view, view)
    {
    }
    AccessibleList(QAbstractItemView *view, AccessibleRows *rows);
    ~AccessibleList() override;
    Q_DISABLE_COPY_MOVE(AccessibleList)

    [[nodiscard]] int childCount() const override;
    [[nodiscard]] QAccessibleInterface *child(int row) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;
    [[nodiscard]] QAccessibleInterface *focusChild() const override;

private:
    /// The rows that assistive technology has asked for.
    struct Items {
        QPointer<QAbstractItemModel> model; ///< its removals and resets are followed
        QHash<QPersistentModelIndex, QAccessible::Id> ids;
        QObject context;

        void follow(QAbstractItemModel *followed);
        void forgetRemoved();
    };

    QAbstractItemView *m_view;
    AccessibleRows *m_rows;
    std::unique_ptr<Items> m_items;
};

} // namespace velmora
