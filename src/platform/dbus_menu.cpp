// SPDX-License-Identifier: MIT
#include "platform/dbus_menu.h"

#include <algorithm>

namespace velmora
{

namespace
{

constexpr int kRoot = 0;

/// An underscore marks a mnemonic; two show one underscore.
QString withoutMnemonics(QString label)
{
    return label.replace(QLatin1Char('_'), QLatin1String("__"));
}

QVariantMap propertiesOf(const StatusItem::MenuEntry &entry)
{
    if (entry.isSeparator)
        return {{QStringLiteral("type"), QStringLiteral("separator")}};
    return {{QStringLiteral("label"), withoutMnemonics(entry.label)}, {QStringLiteral("enabled"), entry.isEnabled}};
}

QVariantMap propertiesOfRoot()
{
    return {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
}

QVariantMap selected(QVariantMap properties, const QStringList &names)
{
    if (!names.isEmpty())
        properties.removeIf([&names](const auto &property) { return !names.contains(property.key()); });
    return properties;
}

bool hasSameLayout(const QList<StatusItem::MenuEntry> &left, const QList<StatusItem::MenuEntry> &right)
{
    return std::ranges::equal(left, right,
        [](const auto &one, const auto &other) { return one.id == other.id && one.isSeparator == other.isSeparator; });
}

} // namespace

void DBusMenu::setEntries(const QList<StatusItem::MenuEntry> &entries)
{
    if (entries == m_entries)
        return;
    const auto previous = std::exchange(m_entries, entries);
    announce(previous);
}

void DBusMenu::announce(const QList<StatusItem::MenuEntry> &previous)
{
    if (!hasSameLayout(previous, m_entries)) {
        ++m_revision;
        Q_EMIT layoutUpdated();
        return;
    }
    QList<int> changed;
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        if (m_entries.at(i) != previous.at(i))
            changed.append(m_entries.at(i).id);
    }
    Q_EMIT propertiesUpdated(changed);
}

const StatusItem::MenuEntry *DBusMenu::find(int id) const
{
    const auto found = std::ranges::find(m_entries, id, &StatusItem::MenuEntry::id);
    return found == m_entries.end() ? nullptr : &*found;
}

bool DBusMenu::contains(int id) const
{
    return id == kRoot || find(id) != nullptr;
}

std::optional<DBusMenuNode> DBusMenu::node(int id, int depth, const QStringList &names) const
{
    if (id != kRoot) {
        const auto *const entry = find(id);
        if (entry == nullptr)
            return std::nullopt;
        return DBusMenuNode{id, selected(propertiesOf(*entry), names), {}};
    }
    DBusMenuNode root{kRoot, selected(propertiesOfRoot(), names), {}};
    if (depth == 0)
        return root;
    for (const auto &entry : m_entries) {
        const DBusMenuNode child{entry.id, selected(propertiesOf(entry), names), {}};
        root.children.append(QVariant::fromValue(child));
    }
    return root;
}

QList<DBusMenuProperties> DBusMenu::properties(const QList<int> &ids, const QStringList &names) const
{
    // Iterate over the entries, not over `ids`, whose length another program chooses.
    QList<DBusMenuProperties> result;
    if (ids.isEmpty() || ids.contains(kRoot))
        result.append({kRoot, selected(propertiesOfRoot(), names)});
    for (const auto &entry : m_entries) {
        if (ids.isEmpty() || ids.contains(entry.id))
            result.append({entry.id, selected(propertiesOf(entry), names)});
    }
    return result;
}

void DBusMenu::click(int id)
{
    const auto *const entry = find(id);
    if (entry == nullptr || entry->isSeparator || !entry->isEnabled)
        return;
    QMetaObject::invokeMethod(
        this, [this, id] { Q_EMIT triggered(id); }, Qt::QueuedConnection);
}

} // namespace velmora
