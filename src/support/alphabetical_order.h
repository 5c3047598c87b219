// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <utility>

namespace velmora
{

/// The indices of the names in the alphabetical order of the user's language, ignoring case. Names that compare equal
/// keep their order.
[[nodiscard]] QList<qsizetype> alphabeticalOrder(const QList<QString> &names);

/// Sorts the items as alphabeticalOrder() does. `name` returns the name of an item.
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
