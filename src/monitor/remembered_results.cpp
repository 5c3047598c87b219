// SPDX-License-Identifier: MIT
#include "monitor/remembered_results.h"

#include "monitor/deployment_list.h"
#include "notifications/deployment_notification_kind.h"
#include "support/clock.h"
#include "support/task_scope.h"

#include <QDate>

namespace velmora
{

namespace
{

const QString kFailuresKey = QStringLiteral("deployments.notifiedFailures");
const QString kSuccessesKey = QStringLiteral("deployments.notifiedSuccesses");
const QString kApprovalsKey = QStringLiteral("deployments.notifiedApprovals");
const QString kWaitingKey = QStringLiteral("deployments.waitingResults");
/// The day on which the deployment of each result was last seen: "2026-05-01 ID:failure".
const QString kLastSeenKey = QStringLiteral("deployments.resultsLastSeen");
const QStringList kKnownKeys{kFailuresKey, kSuccessesKey, kApprovalsKey};
constexpr qsizetype kDayLength = 10;
constexpr qint64 kDaysToForget = 30;

QString lastSeenLine(const QString &day, const QString &key)
{
    return day + QLatin1Char(' ') + key;
}

QString listOf(const DeploymentSnapshot &result)
{
    switch (announcedKind(result.state).value_or(DeploymentNotificationKind::Success)) {
    case DeploymentNotificationKind::Failure:
        return kFailuresKey;
    case DeploymentNotificationKind::Success:
        return kSuccessesKey;
    case DeploymentNotificationKind::Waiting:
        return kApprovalsKey;
    }
    Q_UNREACHABLE();
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

/// Returns the results that have become known.
QCoro::Task<QSet<QString>> storeChanges(Preferences *defaults, ListChanges changes)
{
    QSet<QString> known;
    if (changes.isEmpty())
        co_return known;
    const ListChanges differences = co_await defaults->changeLists(changes);
    for (const QString &list : kKnownKeys) {
        const QStringList added = differences.value(list).added;
        known += QSet<QString>(added.begin(), added.end());
    }
    co_return known;
}

QCoro::Task<> removeWaiting(Preferences *defaults, QString key)
{
    ListChanges changes;
    changes[kWaitingKey].removed.append(key);
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
    for (const QString &list : kKnownKeys)
        keys.known += storedSet(*m_defaults, list);
    keys.waiting = storedSet(*m_defaults, kWaitingKey);
    return keys;
}

QCoro::Task<QSet<QString>> RememberedResults::keep(Changes changes)
{
    // The lists of both ends exist from the first call on, even when empty.
    ListChanges lists;
    if (m_day.isEmpty())
        lists = {{kFailuresKey, {}}, {kSuccessesKey, {}}};
    for (const DeploymentSnapshot &result : changes.history)
        lists[listOf(result)].added.append(resultKey(result));
    for (const DeploymentSnapshot &result : changes.silenced) {
        lists[listOf(result)].added.append(resultKey(result));
        lists[kWaitingKey].removed.append(resultKey(result));
    }
    for (const DeploymentSnapshot &result : changes.waiting)
        lists[kWaitingKey].added.append(resultKey(result));
    const bool isNewDay = m_day != today();
    if (recordSeen(changes.seen) || isNewDay)
        renewDays(changes, isNewDay, lists);
    return storeChanges(m_defaults, lists);
}

/// Returns whether there is a result that was not seen on this day before.
bool RememberedResults::recordSeen(const DeploymentList &list)
{
    if (const QString day = today(); m_day != day) {
        m_day = day;
        m_seenOnDay.clear();
        m_seen.clear();
    }
    const auto before = m_seenOnDay.size();
    const auto changed = changedSince(m_seen, list);
    for (const auto &deployment : changed) {
        if (announcedKind(deployment.state()))
            m_seenOnDay.insert(resultKey(deployment));
    }
    if (!list.isEmpty())
        m_seen = list;
    return m_seenOnDay.size() != before;
}

/// Moves the results that were seen to this day. A new day forgets those that were last seen 30 days ago, and is given
/// to those that were saved without a day.
void RememberedResults::renewDays(const Changes &changes, bool isNewDay, ListChanges &lists) const
{
    auto [kept, waiting] = keys();
    kept += waiting;
    for (const DeploymentSnapshot &result : changes.history + changes.silenced + changes.waiting)
        kept.insert(resultKey(result));
    const auto days = daysByKey();
    for (const QString &key : std::as_const(kept)) {
        const QString lastSeen = days.value(key);
        const bool isSeen = m_seenOnDay.contains(key);
        if (lastSeen == m_day || !(isSeen || isNewDay))
            continue;
        if (isSeen || lastSeen.isEmpty()) {
            lists[kLastSeenKey].added.append(lastSeenLine(m_day, key));
        } else if (isForgotten(lastSeen, m_day)) {
            for (const QString &list : kKnownKeys + QStringList(kWaitingKey))
                lists[list].removed.append(key);
        } else {
            continue;
        }
        if (!lastSeen.isEmpty())
            lists[kLastSeenKey].removed.append(lastSeenLine(lastSeen, key));
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
    launch(removeWaiting(m_defaults, resultKey(result)), "Giving up a result");
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

} // namespace velmora
