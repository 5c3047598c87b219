// SPDX-License-Identifier: MIT
#include "platform/preferences.h"

#include "support/error.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"

#include <QPointer>
#include <QSet>

namespace velmora
{

QStringList changedList(const QStringList &list, const ListChange &change, ListChange &difference)
{
    QSet<QString> texts(list.begin(), list.end());
    for (const QString &text : change.removed) {
        if (texts.remove(text))
            difference.removed.append(text);
    }
    for (const QString &text : change.added) {
        if (texts.contains(text))
            continue;
        texts.insert(text);
        difference.added.append(text);
    }
    QStringList changed(texts.begin(), texts.end());
    changed.sort();
    return changed;
}

QCoro::Task<ListChanges> Preferences::changeLists(ListChanges changes)
{
    ListChanges differences;
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        const QStringList list = stringList(change.key());
        const QStringList changed = changedList(list, *change, differences[change.key()]);
        if (list != changed || !value(change.key()))
            setValue(change.key(), changed);
    }
    co_return differences;
}

bool Preferences::boolean(const QString &key) const
{
    const auto stored = value(key);
    const auto *boolean = stored ? std::get_if<bool>(&*stored) : nullptr;
    return boolean && *boolean;
}

QStringList Preferences::stringList(const QString &key) const
{
    const auto stored = value(key);
    const auto *list = stored ? std::get_if<QStringList>(&*stored) : nullptr;
    return list ? *list : QStringList();
}

std::optional<QByteArray> Preferences::data(const QString &key) const
{
    const auto stored = value(key);
    const auto *data = stored ? std::get_if<QByteArray>(&*stored) : nullptr;
    return data ? std::optional(*data) : std::nullopt;
}

QCoro::Task<QString> whyNotSaved(Preferences *preferences, std::stop_token stop)
{
    const QPointer<Preferences> watched(preferences);
    const std::function<bool()> isSettled = [preferences] {
        return !preferences->isSaving();
    };
    co_await untilTrue(preferences, &Preferences::settled, isSettled, stop);
    throwIfStopped(stop);
    if (!watched)
        throw CancellationError();
    co_return watched->failure();
}

} // namespace velmora
