// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <utility>

namespace velmora
{

/// The indices of the names in the alphabetical order of the person's language, regardless of case; names
/// that are equal in this keep their order.
[[nodiscard]] QList<qsizetype> alphabeticalOrder(const QList<QString> &names);

/// Sorts the items by the name that `name` tells of each, as alphabeticalOrder() does.
template <typename Item, typename Name>
void sortAlphabetically(QList<Item> &items, Name name)
{
    QList<QString> names;
    names.reserve(items.size());
    for (const Item &item : std::as_const(items))
        names.append(name(item));
    QList<Item> sorted;
    sorted.reserve(items.size());
    for (const qsizetype index : alphabeticalOrder(names))
        sorted.append(std::move(items[index]));
    items = std::move(sorted);
}

} // namespace velmora
