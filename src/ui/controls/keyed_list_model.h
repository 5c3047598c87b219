// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractListModel>

#include <functional>

namespace velmora
{

/// A list whose rows are exchanged all at once and keep their identity by a key.
class KeyedListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    [[nodiscard]] QString keyOf(int row) const { return key(row).toString(); }
    /// The row with the key; -1 if there is none. Looks at one row after the other.
    [[nodiscard]] int rowOf(QStringView wanted) const;

protected:
    using QAbstractListModel::QAbstractListModel;

    /// Differs from row to row. Read before and after, but not during replaceRows().
    [[nodiscard]] virtual QStringView key(int row) const = 0;
    /// Equal for equal keys. Reimplement it where it is known: replaceRows() asks for it instead of most keys.
    [[nodiscard]] virtual std::size_t keyHash(int row) const { return qHash(key(row)); }
    /// Announces a change of layout, during which `replace` exchanges the rows. Persistent indexes, and with them
    /// selection and current row of a view, stay with their keys; those of a key that has gone become invalid. The cost
    /// is that of finding these few keys among the new rows.
    void replaceRows(const std::function<void()> &replace);
    /// Takes over rows whose keys are those of the present ones, and announces which have changed.
    template <typename Rows>
    void takeOver(Rows &rows, const Rows &next)
    {
        const auto size = rows.size();
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t first = i;
            while (i < size && rows[i] != next[i]) {
                rows[i] = next[i];
                ++i;
            }
            if (i > first)
                Q_EMIT dataChanged(index(static_cast<int>(first)), index(static_cast<int>(i - 1)));
        }
    }
};

} // namespace velmora
