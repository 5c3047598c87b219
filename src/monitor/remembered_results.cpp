// SPDX-License-Identifier: MIT
#include "monitor/remembered_results.h"

#include "support/clock.h"
#include "support/task_scope.h"

#include <QDate>

namespace velmora
{

namespace
{

const QString kFailuresKey = QStringLiteral("deployments.notifiedFailures");
const QString kSuccessesKey = QStringLiteral("deployments.notifiedSuccesses");
const QString kWaitingKey = QStringLiteral("deployments.waitingResults");
/// The day on which the deployment of each result was last seen: "2026-05-01 ID:failure".
const QString kLastSeenKey = QStringLiteral("deployments.resultsLastSeen");
constexpr qsizetype kDayLength = 10;
constexpr qint64 kDaysToForget = 30;

QString lastSeenLine(const QString &day, const QString &key)
{
    return day + QLatin1Char(' ') + key;
}

QString listOf(const DeploymentSnapshot &result)
{
    return isFailure(result.state) ? kFailuresKey : kSuccessesKey;
}

QSet<QString> storedSet(const Preferences &defaults, const QString &key)
{
    const QStringList texts = defaults.stringList(key);
    return QSet<QString>(texts.begin(), texts.end());
}

bool isForgotten(const QString &lastSeen, const QString &today)
{
    const auto day = QDate::fromString(lastSeen, Qt::ISODate);
    return day.isValid() && day.daysTo(QDate::fromString(today, Qt::ISODate)) >= kDaysToForget;
}

QCoro::Task<> storeChanges(Preferences *defaults, ListChanges changes)
{
    std::ignore = co_await defaults->changeLists(changes);
}

} // namespace

RememberedResults::RememberedResults(Preferences *defaults, const Clock *clock)
    : m_defaults(defaults)
    , m_clock(clock)
{
}

RememberedResults::Keys RememberedResults::keys() const
{
    Keys keys;
    keys.known = storedSet(*m_defaults, kFailuresKey) + storedSet(*m_defaults, kSuccessesKey);
    keys.waiting = storedSet(*m_defaults, kWaitingKey);
    return keys;
}

void RememberedResults::keep(const Changes &changes)
{
    const QString day = today();
    const bool isNewDay = m_day != day;
    // Both lists exist from the first call on, even when empty.
    ListChanges lists;
    if (m_day.isEmpty())
        lists = {{kFailuresKey, {}}, {kSuccessesKey, {}}};
    for (const DeploymentSnapshot &result : changes.history)
        lists[listOf(result)].added.append(resultKey(result));
    for (const DeploymentSnapshot &result : changes.waiting)
        lists[kWaitingKey].added.append(resultKey(result));
    const auto unseen = notSeenToday(changes.seen);
    if (isNewDay || !unseen.isEmpty()) {
        auto kept = keys();
        for (const DeploymentSnapshot &result : changes.history)
            kept.known.insert(resultKey(result));
        for (const DeploymentSnapshot &result : changes.waiting)
            kept.waiting.insert(resultKey(result));
        const auto days = daysByKey();
        for (const QString &key : unseen) {
            if (!(kept.known.contains(key) || kept.waiting.contains(key)) || days.value(key) == day)
                continue;
            lists[kLastSeenKey].added.append(lastSeenLine(day, key));
            if (days.contains(key))
                lists[kLastSeenKey].removed.append(lastSeenLine(days.value(key), key));
        }
        if (isNewDay)
            forgetOld(kept, lists);
    }
    if (!lists.isEmpty())
        store(lists);
}

/// The keys of the results that were not seen on this day before. Marks them as seen.
QSet<QString> RememberedResults::notSeenToday(const QList<DeploymentSnapshot> &seen)
{
    if (const QString day = today(); m_day != day) {
        m_day = day;
        m_seenOnDay.clear();
    }
    QSet<QString> unseen;
    for (const DeploymentSnapshot &result : seen) {
        const QString key = resultKey(result);
        if (m_seenOnDay.contains(key))
            continue;
        m_seenOnDay.insert(key);
        unseen.insert(key);
    }
    return unseen;
}

/// Forgets the results that were last seen 30 days ago. Results saved without a day get the current one.
void RememberedResults::forgetOld(const Keys &keys, ListChanges &changes) const
{
    const QString day = today();
    const auto days = daysByKey();
    for (const QString &key : keys.known + keys.waiting) {
        const QString lastSeen = days.value(key);
        if (m_seenOnDay.contains(key))
            continue;
        if (lastSeen.isEmpty()) {
            changes[kLastSeenKey].added.append(lastSeenLine(day, key));
        } else if (isForgotten(lastSeen, day)) {
            changes[kLastSeenKey].removed.append(lastSeenLine(lastSeen, key));
            for (const QString &list : {kFailuresKey, kSuccessesKey, kWaitingKey})
                changes[list].removed.append(key);
        }
    }
}

QCoro::Task<bool> RememberedResults::claim(DeploymentSnapshot result)
{
    const QString key = resultKey(result);
    const QString list = listOf(result);
    ListChanges changes;
    changes[list].added.append(key);
    changes[kWaitingKey].removed.append(key);
    if (!daysByKey().contains(key))
        changes[kLastSeenKey].added.append(lastSeenLine(today(), key));
    const ListChanges differences = co_await m_defaults->changeLists(changes);
    co_return differences.value(list).added.contains(key);
}

void RememberedResults::giveUp(const DeploymentSnapshot &result)
{
    ListChanges changes;
    changes[kWaitingKey].removed.append(resultKey(result));
    store(changes);
}

QString RememberedResults::today() const
{
    const auto days = std::chrono::floor<std::chrono::days>(m_clock->now()).time_since_epoch();
    return QDate(1970, 1, 1).addDays(days.count()).toString(Qt::ISODate);
}

QHash<QString, QString> RememberedResults::daysByKey() const
{
    QHash<QString, QString> days;
    const QStringList lines = m_defaults->stringList(kLastSeenKey);
    for (const QString &line : lines)
        days.insert(line.mid(kDayLength + 1), line.left(kDayLength));
    return days;
}

void RememberedResults::store(const ListChanges &changes)
{
    launch(storeChanges(m_defaults, changes), "Remembering results");
}

} // namespace velmora
