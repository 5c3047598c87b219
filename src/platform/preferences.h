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

/// What to put into a stored list of texts, and what to take out of it.
struct ListChange {
    QStringList added;
    QStringList removed;

    friend bool operator==(const ListChange &, const ListChange &) = default;
};

/// By key.
using ListChanges = QMap<QString, ListChange>;

/// The list after the change, sorted and each text once. `difference` is what of the change was not so already.
[[nodiscard]] QStringList changedList(const QStringList &list, const ListChange &change, ListChange &difference);

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

    /// Changes stored lists as sets, all of them in one step among the processes that share the preferences: what
    /// another one has put into them stays. A key without a list gets one. What is changed is seen at once.
    ///
    /// Returns what made a difference, once that is known: one process alone is told that it has added a text. What
    /// cannot be stored is tried again, and counts as a difference if it is one to what is known here. Here for
    /// preferences that no other process shares.
    [[nodiscard]] virtual QCoro::Task<ListChanges> changeLists(ListChanges changes);

    /// The boolean under the key; false when there is none or it is of another type.
    [[nodiscard]] bool boolean(const QString &key) const;
    /// The list under the key; empty when there is none or it is of another type.
    [[nodiscard]] QStringList stringList(const QString &key) const;
    /// The data under the key; nothing when there is none or it is of another type.
    [[nodiscard]] std::optional<QByteArray> data(const QString &key) const;

    /// Why what was set is not kept, or why what was kept cannot be read, as the user is told; empty while all is well.
    /// What could not be saved is in effect all the same, and is tried again.
    [[nodiscard]] virtual QString failure() const { return {}; }
    /// Whether it is still open what becomes of something that was set.
    [[nodiscard]] virtual bool isSaving() const { return false; }

Q_SIGNALS:
    /// The value under the key is another one than before, set here or by another process.
    void changed(const QString &key);
    /// failure() is another one than before.
    void failureChanged();
    /// Everything that was set so far is kept, or failure() says why not.
    void settled();
    /// Settings were found damaged; `message` tells the user what was done about it.
    void damageFound(const QString &message);
};

/// Waits until it is known what became of everything set so far, and returns why it is not kept; empty when it is.
/// Throws CancellationError on a stop, and when the preferences are destroyed.
[[nodiscard]] QCoro::Task<QString> whyNotSaved(Preferences *preferences, std::stop_token stop);

} // namespace velmora
