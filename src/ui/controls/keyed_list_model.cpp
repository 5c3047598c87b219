// SPDX-License-Identifier: MIT
#include "ui/controls/keyed_list_model.h"

#include <QHash>
#include <QSet>

namespace velmora
{

namespace
{

/// The search begins this many rows above the first key: most changes move a row only a little.
constexpr int kSlack = 64;

} // namespace

int KeyedListModel::rowOf(QStringView wanted) const
{
    const int count = rowCount();
    for (int row = 0; row < count; ++row) {
        if (key(row) == wanted)
            return row;
    }
    return -1;
}

void KeyedListModel::replaceRows(const std::function<void()> &replace)
{
    Q_EMIT layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    QStringList keys;
    QSet<std::size_t> hashes;
    int first = rowCount();
    for (const QModelIndex &index : before) {
        keys.append(key(index.row()).toString());
        hashes.insert(keyHash(index.row()));
        first = std::min(first, index.row());
    }
    replace();

    QHash<QStringView, int> rows;
    for (const QString &wanted : std::as_const(keys))
        rows.insert(wanted, -1);
    qsizetype left = rows.size();
    const int count = rowCount();
    for (int i = std::max(0, first - kSlack), end = i + count; i < end && left > 0; ++i) {
        if (!hashes.contains(keyHash(i % count)))
            continue;
        const auto found = rows.find(key(i % count));
        if (found != rows.end() && *found < 0) {
            *found = i % count;
            --left;
        }
    }
    QModelIndexList after;
    for (const QString &wanted : std::as_const(keys))
        after.append(index(rows.value(wanted)));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

} // namespace velmora
