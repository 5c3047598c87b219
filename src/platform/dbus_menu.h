// SPDX-License-Identifier: MIT
#pragma once

#include "platform/dbus_menu_types.h"
#include "platform/status_item.h"

#include <optional>

namespace velmora
{

/// A menu of one level, in the terms of com.canonical.dbusmenu. Id 0 is the menu itself.
class DBusMenu final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void setEntries(const QList<StatusItem::MenuEntry> &entries);

    /// The entry and, unless `depth` is 0, its children; nullopt if it does not exist. Only the properties in `names`,
    /// or all if `names` is empty.
    [[nodiscard]] std::optional<DBusMenuNode> node(int id, int depth, const QStringList &names) const;
    /// The existing entries among `ids`, each once; all if `ids` is empty.
    [[nodiscard]] QList<DBusMenuProperties> properties(const QList<int> &ids, const QStringList &names) const;
    [[nodiscard]] bool contains(int id) const;
    /// Increases with each change of the layout.
    [[nodiscard]] uint revision() const { return m_revision; }

    /// Emits triggered() for an enabled entry, after the caller has got its answer. Ignores other ids.
    void click(int id);

Q_SIGNALS:
    void triggered(int id);
    /// Entries were added, removed or moved.
    void layoutUpdated();
    /// The properties of these entries changed, but not the layout.
    void propertiesUpdated(const QList<int> &ids);

private:
    [[nodiscard]] const StatusItem::MenuEntry *find(int id) const;
    void announce(const QList<StatusItem::MenuEntry> &previous);

    QList<StatusItem::MenuEntry> m_entries;
    uint m_revision = 1;
};

} // namespace velmora
