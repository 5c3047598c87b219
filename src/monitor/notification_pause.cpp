// SPDX-License-Identifier: MIT
#include "monitor/notification_pause.h"

#include "model/deployment_snapshot_coding.h"
#include "support/clock.h"
#include "support/error.h"
#include "support/json.h"
#include "support/task_scope.h"

#include <algorithm>

namespace velmora
{

namespace
{

/// The interval of the pause. Two processes may have begun one at the same time.
const QString kPauseKey = QStringLiteral("notifications.pause");
/// The failures that were not announced, each as JSON.
const QString kFailuresKey = QStringLiteral("notifications.failedWhilePaused");

std::optional<DeploymentSnapshot> failureIn(const QString &line)
{
    try {
        return decodeJSON<DeploymentSnapshot>(line.toUtf8());
    } catch (const Error &) {
        return std::nullopt;
    }
}

QCoro::Task<> storePause(Preferences *defaults, ListChange change)
{
    ListChanges changes;
    changes.insert(kPauseKey, change);
    std::ignore = co_await defaults->changeLists(changes);
}

} // namespace

NotificationPause::NotificationPause(Preferences *defaults, const Clock *clock, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_clock(clock)
{
    read();
    connect(defaults, &Preferences::changed, this, [this](const QString &key) {
        if (key != kPauseKey)
            return;
        read();
        Q_EMIT changed();
    });
}

/// Of several pauses the one that was begun last counts.
void NotificationPause::read()
{
    m_term.reset();
    const QStringList lines = m_defaults->stringList(kPauseKey);
    for (const QString &line : lines) {
        const auto term = parseInterval(line);
        if (term && (!m_term || m_term->since <= term->since))
            m_term = term;
    }
}

std::optional<Term> NotificationPause::term() const
{
    return m_term && !m_term->isOver(m_clock->now()) ? m_term : std::nullopt;
}

void NotificationPause::begin(std::optional<Instant> until)
{
    store({toInterval({m_clock->now(), until})});
}

void NotificationPause::resume()
{
    store({});
}

void NotificationPause::forgetOver()
{
    if (m_term && !term())
        resume();
}

/// Replaces what is stored.
void NotificationPause::store(const QStringList &lines)
{
    const ListChange change{lines, m_defaults->stringList(kPauseKey)};
    if (!change.added.isEmpty() || !change.removed.isEmpty())
        launch(storePause(m_defaults, change), "Storing the pause of notifications");
}

QCoro::Task<> NotificationPause::note(DeploymentList results)
{
    ListChange change;
    for (const DeploymentSnapshot &result : results) {
        if (isFailure(result.state))
            change.added.append(QString::fromUtf8(encodeJSON(result)));
    }
    if (change.added.isEmpty())
        co_return;
    ListChanges changes;
    changes.insert(kFailuresKey, change);
    std::ignore = co_await m_defaults->changeLists(changes);
}

bool NotificationPause::hasFailures() const
{
    return !term() && !m_defaults->stringList(kFailuresKey).isEmpty();
}

QCoro::Task<DeploymentList> NotificationPause::takeFailures()
{
    if (!hasFailures())
        co_return {};
    ListChange change;
    change.removed = m_defaults->stringList(kFailuresKey);
    ListChanges changes;
    changes.insert(kFailuresKey, change);
    const ListChanges differences = co_await m_defaults->changeLists(changes);
    DeploymentList failures;
    for (const QString &line : differences.value(kFailuresKey).removed) {
        if (const auto failure = failureIn(line))
            failures.append(*failure);
    }
    std::ranges::stable_sort(failures, {}, &SharedDeployment::updatedAt);
    co_return failures;
}

} // namespace velmora
