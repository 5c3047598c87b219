// SPDX-License-Identifier: MIT
#include "support/alphabetical_order.h"

#include <QCollator>

#include <algorithm>
#include <numeric>
#include <vector>

namespace velmora
{

QList<qsizetype> alphabeticalOrder(const QList<QString> &names)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    // Comparing keys made once is many times faster than comparing texts. In the C locale the keys heed case whatever
    // the collator is told, so the names are case-folded first.
    std::vector<QCollatorSortKey> keys;
    keys.reserve(static_cast<std::size_t>(names.size()));
    for (const QString &name : names)
        keys.push_back(collator.sortKey(name.toCaseFolded()));

    QList<qsizetype> order(names.size());
    std::iota(order.begin(), order.end(), 0);
    const auto isBefore = [&keys](qsizetype left, qsizetype right) {
        return keys[static_cast<std::size_t>(left)].compare(keys[static_cast<std::size_t>(right)]) < 0;
    };
    std::stable_sort(order.begin(), order.end(), isBefore);
    return order;
}

} // namespace velmora
