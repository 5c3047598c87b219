// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <stop_token>
#include <variant>

namespace velmora
{

/// The texts to add to a stored list and to remove from it.
struct ListChange {
    QStringList added;
    QStringList removed;

    friend bool operator==(const ListChange &, const ListChange &) = default;
};

/// By key.
using ListChanges = QMap<QString, ListChange>;

/// The list after the change, sorted and without duplicates. `difference` gets the part of the change that had an
/// effect.
[[nodiscard]] QStringList changedList(const QStringList &list, const ListChange &change, ListChange &difference);

/// The user's settings under dotted keys. Values keep their type: a list with one text comes back as a list, an empty
/// one as an empty list. Reading never waits. A new value is visible at once.
class Preferences : public QObject
{
    Q_OBJECT

public:
    using Value = std::variant<bool, QString, QStringList, QByteArray>;

    using QObject::QObject;

    /// The stored value, nullopt if there is none.
    [[nodiscard]] virtual std::optional<Value> value(const QString &key) const = 0;
    /// Stores the value. Does nothing if it is stored already.
    virtual void setValue(const QString &key, const Value &value) = 0;
    /// Removes the value. It is no error if there is none.
    virtual void remove(const QString &key) = 0;

    /// Changes stored lists as sets, all in one step among the processes that share the preferences: keeps the texts
    /// that other processes have added. Creates missing lists. The change is visible at once.
    ///
    /// Returns the changes that had an effect, once that is known: if several processes add a text, only one of them
    /// gets it in its result. Changes that cannot be stored are retried; their effect is then judged by the values
    /// known here. This implementation is for preferences that no other process shares.
    [[nodiscard]] virtual QCoro::Task<ListChanges> changeLists(ListChanges changes);

    /// The boolean under the key, false if it is missing or of another type.
    [[nodiscard]] bool boolean(const QString &key) const;
    /// The list under the key, empty if it is missing or of another type.
    [[nodiscard]] QStringList stringList(const QString &key) const;
    /// The data under the key, nullopt if it is missing or of another type.
    [[nodiscard]] std::optional<QByteArray> data(const QString &key) const;

    /// A message for the user why values cannot be saved or read; empty while all is well. Values that could not be
    /// saved are in effect anyway, and saving is retried.
    [[nodiscard]] virtual QString failure() const { return {}; }
    /// Whether values are still being saved.
    [[nodiscard]] virtual bool isSaving() const { return false; }

Q_SIGNALS:
    /// The value under the key has changed, here or by another process.
    void changed(const QString &key);
    /// failure() has changed.
    void failureChanged();
    /// Everything set so far is saved, or failure() has the reason why not.
    void settled();
    /// The stored settings were damaged. `message` tells the user what was done about it.
    void damageFound(const QString &message);
};

/// Waits until everything set so far is saved or has failed. Returns the failure, empty if saved. Throws
/// CancellationError on a stop and when the preferences are destroyed.
[[nodiscard]] QCoro::Task<QString> whyNotSaved(Preferences *preferences, std::stop_token stop);

} // namespace velmora
