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
};

} // namespace velmora
