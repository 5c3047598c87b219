// SPDX-License-Identifier: MIT
#include "ui/accessibility/accessible_list.h"

#include <algorithm>

namespace velmora
{

namespace
{

/// The accessible object of one row.
class Item final : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    Item(QAbstractItemView *view, AccessibleRows *rows, const QModelIndex &index)
        : m_view(view)
        , m_rows(rows)
        , m_index(index)
    {
    }

    [[nodiscard]] int row() const { return m_index.row(); }

    [[nodiscard]] bool isValid() const override { return m_index.isValid(); }
    [[nodiscard]] QObject *object() const override { return nullptr; }
    [[nodiscard]] QWindow *window() const override { return parent() ? parent()->window() : nullptr; }
    [[nodiscard]] QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_view);
    }
    [[nodiscard]] QAccessibleInterface *child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
    void setText(QAccessible::Text, const QString &) override { }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name)
            return m_index.data(Qt::AccessibleTextRole).toString();
        return kind == QAccessible::Description ? m_index.data(Qt::AccessibleDescriptionRole).toString() : QString();
    }

    [[nodiscard]] QRect rect() const override
    {
        const QRect place = m_view->visualRect(m_index);
        return {m_view->viewport()->mapToGlobal(place.topLeft()), place.size()};
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        const auto flags = m_index.flags();
        const bool isSeen = m_view->isVisible() && m_view->viewport()->rect().intersects(m_view->visualRect(m_index));
        state.invisible = !isSeen;
        state.offscreen = !isSeen;
        state.disabled = !flags.testFlag(Qt::ItemIsEnabled);
        state.selectable = flags.testFlag(Qt::ItemIsSelectable);
        state.focusable = state.selectable;
        state.selected = m_view->selectionModel()->isSelected(m_index);
        state.focused = m_view->currentIndex() == m_index;
        state.checkable = flags.testFlag(Qt::ItemIsUserCheckable);
        state.checked = state.checkable && m_index.data(Qt::CheckStateRole).value<Qt::CheckState>() == Qt::Checked;
        return state;
    }

    [[nodiscard]] void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this) : nullptr;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        QStringList names;
        for (const AccessibleAction &action : actions())
            names.append(action.name);
        return names;
    }

    [[nodiscard]] QString localizedActionDescription(const QString &name) const override
    {
        for (const AccessibleAction &action : actions()) {
            if (action.name == name)
                return action.description;
        }
        return {};
    }

    void doAction(const QString &name) override
    {
        const auto known = actions();
        const auto action = std::ranges::find(known, name, &AccessibleAction::name);
        if (action != known.end())
            action->perform();
    }

    [[nodiscard]] QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    [[nodiscard]] QList<AccessibleAction> actions() const
    {
        return m_index.isValid() ? m_rows->accessibleActions(m_index) : QList<AccessibleAction>();
    }

    QAbstractItemView *m_view;
    AccessibleRows *m_rows;
    QPersistentModelIndex m_index;
};

} // namespace

AccessibleList::AccessibleList(QAbstractItemView *view, AccessibleRows *rows)
    : QAccessibleWidget(view, QAccessible::List)
    , m_view(view)
    , m_rows(rows)
    , m_items(std::make_unique<Items>())
{
}

AccessibleList::~AccessibleList()
{
    for (const QAccessible::Id id : std::as_const(m_items->ids))
        QAccessible::deleteAccessibleInterface(id);
}

void AccessibleList::Items::follow(QAbstractItemModel *followed)
{
    if (std::exchange(model, followed) == followed)
        return;
    const auto forget = [this] {
        forgetRemoved();
    };
    QObject::connect(model, &QAbstractItemModel::layoutChanged, &context, forget);
    QObject::connect(model, &QAbstractItemModel::modelReset, &context, forget);
}

void AccessibleList::Items::forgetRemoved()
{
    ids.removeIf([](const auto &entry) {
        if (!entry.key().isValid())
            QAccessible::deleteAccessibleInterface(entry.value());
        return !entry.key().isValid();
    });
}

int AccessibleList::childCount() const
{
    return m_view->model() ? m_view->model()->rowCount() : 0;
}

QAccessibleInterface *AccessibleList::child(int row) const
{
    // Qt may query the view before it has a model.
    QAbstractItemModel *model = m_view->model();
    const QPersistentModelIndex index(model ? model->index(row, 0) : QModelIndex());
    if (!index.isValid())
        return nullptr;
    m_items->follow(model);
    const auto known = m_items->ids.constFind(index);
    if (known != m_items->ids.constEnd())
        return QAccessible::accessibleInterface(*known);
    auto *item = new Item(m_view, m_rows, index);
    m_items->ids.insert(index, QAccessible::registerAccessibleInterface(item));
    return item;
}

QAccessibleInterface *AccessibleList::childAt(int x, int y) const
{
    const QModelIndex index = m_view->indexAt(m_view->viewport()->mapFromGlobal(QPoint(x, y)));
    return index.isValid() ? child(index.row()) : nullptr;
}

int AccessibleList::indexOfChild(const QAccessibleInterface *child) const
{
    const auto *item = dynamic_cast<const Item *>(child);
    return item ? item->row() : -1;
}

QAccessibleInterface *AccessibleList::focusChild() const
{
    const QModelIndex current = m_view->currentIndex();
    return m_view->hasFocus() && current.isValid() ? child(current.row()) : QAccessibleWidget::focusChild();
}

} // namespace velmora
