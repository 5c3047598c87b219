// SPDX-License-Identifier: MIT
#include "monitor/failure_choices.h"

#include "model/failure_preferences.h"
#include "support/task_scope.h"

#include <QDate>
#include <QHash>

namespace velmora
{

namespace
{

/// The day on which each failure was dismissed: "2026-05-01 ID:failure". A sorted list begins with the oldest.
const QString kDismissedKey = QStringLiteral("deployments.dismissedFailures");
constexpr qsizetype kDayLength = 10;
constexpr qsizetype kMostDismissed = 10'000;
/// A result is listed for 24 hours after its last change, which was before it was dismissed.
constexpr qint64 kDaysToForget = 2;

QDate dayOf(Instant instant)
{
    const auto days = std::chrono::floor<std::chrono::days>(instant).time_since_epoch();
    return QDate(1970, 1, 1).addDays(days.count());
}

QString keyIn(const QString &line)
{
    return line.mid(kDayLength + 1);
}

QString idIn(const QString &line)
{
    const QString key = keyIn(line);
    return key.first(std::max<qsizetype>(0, key.lastIndexOf(QLatin1Char(':'))));
}

QSet<QString> keysOf(const DeploymentList &deployments)
{
    QSet<QString> keys;
    for (const DeploymentSnapshot &deployment : deployments)
        keys.insert(resultKey(deployment));
    return keys;
}

QCoro::Task<> storeChange(Preferences *defaults, ListChange change)
{
    ListChanges changes;
    changes.insert(kDismissedKey, change);
    std::ignore = co_await defaults->changeLists(changes);
}

void store(Preferences *defaults, const ListChange &change)
{
    if (!change.added.isEmpty() || !change.removed.isEmpty())
        launch(storeChange(defaults, change), "Storing which failures are dismissed");
}

/// The lines that nothing needs any more when `added` lines follow them.
QStringList outdated(const QStringList &lines, qsizetype added, const QSet<QString> &listed, QDate today)
{
    const qsizetype surplus = lines.size() + added - kMostDismissed;
    QStringList outdated;
    for (const QString &line : lines) {
        const auto day = QDate::fromString(line.first(std::min(kDayLength, line.size())), Qt::ISODate);
        const bool isOld = !day.isValid() || day.daysTo(today) >= kDaysToForget;
        if (outdated.size() < surplus || (isOld && !listed.contains(keyIn(line))))
            outdated.append(line);
    }
    return outdated;
}

} // namespace

FailureChoices failureChoices(const Preferences &defaults)
{
    FailureChoices choices;
    choices.ignoresMended = defaults.boolean(QString::fromLatin1(kIgnoresMendedPreference));
    const QStringList lines = defaults.stringList(kDismissedKey);
    for (const QString &line : lines)
        choices.dismissed.insert(keyIn(line));
    return choices;
}

bool isFailureChoice(const QString &key)
{
    return key == QLatin1String(kIgnoresMendedPreference) || key == kDismissedKey;
}

void setDismissed(
    Preferences *defaults, const DeploymentList &failures, bool isDismissed, const DeploymentList &listed, Instant now)
{
    const QStringList lines = defaults->stringList(kDismissedKey);
    const QDate today = dayOf(now);
    QSet<QString> keys = keysOf(failures);
    ListChange change;
    for (const QString &line : lines) {
        if (keys.contains(keyIn(line)) && !isDismissed)
            change.removed.append(line);
        else
            keys.remove(keyIn(line));
    }
    if (isDismissed) {
        for (const QString &key : std::as_const(keys))
            change.added.append(today.toString(Qt::ISODate) + QLatin1Char(' ') + key);
    }
    if (!change.added.isEmpty())
        change.removed = outdated(lines, change.added.size(), keysOf(listed), today);
    store(defaults, change);
}

void forgetChanged(Preferences *defaults, const DeploymentList &listed)
{
    const QStringList lines = defaults->stringList(kDismissedKey);
    QMultiHash<std::size_t, QString> byHash; // most records of the list need not be read
    for (const QString &line : lines)
        byHash.insert(qHash(idIn(line), QHashSeed::globalSeed()), line);
    ListChange change;
    for (const SharedDeployment &deployment : listed) {
        const auto [first, last] = std::as_const(byHash).equal_range(deployment.idHash());
        for (auto line = first; line != last; ++line) {
            if (idIn(*line) == deployment->id && keyIn(*line) != resultKey(deployment))
                change.removed.append(*line);
        }
    }
    store(defaults, change);
}

} // namespace velmora
