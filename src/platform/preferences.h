// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace velmora
{

/// The person's settings under dotted keys. Values keep their type: a list of one text comes back as a
/// list, an empty one as an empty list. Reading never waits; a value that was set is seen at once.
class Preferences : public QObject
{
    Q_OBJECT

public:
    using Value = std::variant<bool, QString, QStringList, QByteArray>;

    using QObject::QObject;

    /// The stored value; nothing when there is none.
    [[nodiscard]] virtual std::optional<Value> value(const QString &key) const = 0;
    /// Stores the value; does nothing when it is stored already.
    virtual void setValue(const QString &key, const Value &value) = 0;
    /// Removes the value; no error when there is none.
    virtual void remove(const QString &key) = 0;

    /// The boolean under the key; false when there is none or it is of another type.
    [[nodiscard]] bool boolean(const QString &key) const;
    /// The list under the key; empty when there is none or it is of another type.
    [[nodiscard]] QStringList stringList(const QString &key) const;
    /// The data under the key; nothing when there is none or it is of another type.
    [[nodiscard]] std::optional<QByteArray> data(const QString &key) const;

Q_SIGNALS:
    /// The value under the key is another one than before, set here or by another process.
    void changed(const QString &key);
    /// Settings could not be read or written; `message` tells the person what was done about it.
    void failed(const QString &message);
};

} // namespace velmora
