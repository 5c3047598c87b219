// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/dbus_menu_types.h"
#include "platform/status_item.h"

#include <optional>

namespace velmora
{

/// A menu of one level, as com.canonical.dbusmenu describes it. Id 0 is the menu itself.
class DBusMenu final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void setEntries(const QList<StatusItem::MenuEntry> &entries);

    /// The entry, and to a depth other than 0 those below it; absent when there is no such entry. Properties not in
    /// `names` are left out, unless `names` is empty.
    [[nodiscard]] std::optional<DBusMenuNode> node(int id, int depth, const QStringList &names) const;
    /// The named entries that exist, each once; all for an empty list.
    [[nodiscard]] QList<DBusMenuProperties> properties(const QList<int> &ids, const QStringList &names) const;
    [[nodiscard]] bool contains(int id) const;
    /// Counts the changes of the layout.
    [[nodiscard]] uint revision() const { return m_revision; }

    /// A click on an enabled entry is announced once the caller has been answered; nothing else is.
    void click(int id);

Q_SIGNALS:
    void triggered(int id);
    /// Entries came, went or changed places.
    void layoutUpdated();
    /// The entries with these ids look different; the layout is the same.
    void propertiesUpdated(const QList<int> &ids);

private:
    [[nodiscard]] const StatusItem::MenuEntry *find(int id) const;
    void announce(const QList<StatusItem::MenuEntry> &previous);

    QList<StatusItem::MenuEntry> m_entries;
    uint m_revision = 1;
};

} // namespace velmora
