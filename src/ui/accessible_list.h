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

/// Something that assistive technology can do with a row. The first one is what a click does.
struct AccessibleAction {
    QString name; ///< "Press", "Toggle", or what is done, in words
    QString description;
    std::function<void()> perform;
};

/// A list whose rows can be used. What Qt offers for a row only selects it.
class AccessibleRows
{
public:
    virtual ~AccessibleRows() = default;
    [[nodiscard]] virtual QList<AccessibleAction> accessibleActions(const QModelIndex &index) = 0;
};

/// What assistive technology sees of a list of one column: a list with an item for each row. Made when somebody asks;
/// rows that nobody asks for cost nothing.
class AccessibleList final : public QAccessibleWidget
{
public:
    /// Of a view that says itself what can be done with its rows.
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
    /// The rows that were asked for.
    struct Items {
        QPointer<QAbstractItemModel> model; ///< whose removals are followed
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
