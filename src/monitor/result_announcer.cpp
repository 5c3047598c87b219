// SPDX-License-Identifier: MIT
#include "monitor/result_announcer.h"

#include "monitor/deployment_list.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>
#include <iterator>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(announcerLog, "velmora.announcer", QtWarningMsg)

QHash<DeploymentID, DeploymentState> statesByID(const DeploymentList &deployments)
{
    QHash<DeploymentID, DeploymentState> states;
    states.reserve(deployments.size());
    for (const auto &deployment : deployments) {
        // The list is unique by construction. If an id is repeated, notifications can no longer be trusted, and going
        // on would hide the fault.
        if (states.contains({&deployment}))
            qFatal("The list of deployments holds an id twice.");
        states.insert({&deployment}, deployment.state());
    }
    return states;
}

/// Whether the deployment had another result before, or none.
bool isNew(const DeploymentSnapshot &result, DeploymentState before)
{
    return announcedKind(result.state) != announcedKind(before);
}

/// Whether the result is not to be announced: the list did not hold the deployment as under way to it, and no run has
/// queued the result.
bool isHistory(const DeploymentSnapshot &result, DeploymentState before, const RememberedResults::Keys &keys)
{
    return !(isActive(before) && isNew(result, before)) && !keys.waiting.contains(resultKey(result));
}

/// Awaits the post; what could not be delivered counts as announced.
QCoro::Task<> delivered(QCoro::Task<> post)
{
    try {
        co_await post;
    } catch (...) {
        qCWarning(announcerLog).noquote() << "A notification was not delivered:" << describe(std::current_exception());
    }
}

} // namespace

ResultAnnouncer::ResultAnnouncer(
    DeploymentNotifying *notifier, Preferences *defaults, const Clock *clock, QObject *parent)
    : QObject(parent)
    , m_notifier(notifier)
    , m_choices(defaults, clock)
    , m_results(defaults, clock)
{
    connect(&m_choices.pause(), &NotificationPause::changed, this, &ResultAnnouncer::followClock);
}

QCoro::Task<> ResultAnnouncer::process(DeploymentList previous, DeploymentList updated)
{
    auto stored = take(previous, updated);
    // A claim is stored after what was queued before it.
    if (!m_isPosting && !m_queue.isEmpty())
        m_scope.launch(postQueue(), "Announcing results");
    return stored;
}

/// Queues the results that are new, and remembers all. What is the same record as before brings nothing new. Ends when
/// it is stored.
QCoro::Task<> ResultAnnouncer::take(const DeploymentList &previous, const DeploymentList &updated)
{
    const bool isFirst = !std::exchange(m_hasCompletedLiveRefresh, true);
    const States before = previous.isSharedWith(updated) ? States() : statesByID(previous);
    DeploymentList candidates = changedSince(isFirst ? DeploymentList() : previous, updated);
    candidates.removeIf([&](const SharedDeployment &deployment) {
        return !announcedKind(deployment.state())
            || !(isFirst || isNew(deployment, before.value({&deployment}, DeploymentState::Unknown)));
    });
    RememberedResults::Changes changes;
    changes.seen = updated;
    m_latest = updated;
    sortOut(candidates, before, isFirst, changes);
    m_queue += changes.waiting;
    return keep(std::move(changes));
}

/// Of what is silenced, a pause notes what no other process has noted.
QCoro::Task<> ResultAnnouncer::keep(RememberedResults::Changes changes)
{
    const QPointer<ResultAnnouncer> self(this);
    DeploymentList paused = changes.silenced;
    paused.removeIf(
        [this](const SharedDeployment &result) { return m_choices.announcementOf(result) != Announcement::Paused; });
    const QSet<QString> known = co_await m_results.keep(std::move(changes));
    paused.removeIf([&known](const SharedDeployment &result) { return !known.contains(resultKey(result)); });
    if (self)
        co_await m_choices.pause().note(paused);
}

/// Sorts the results into history, what is not to be posted, and what is. The last is ordered by their kind.
void ResultAnnouncer::sortOut(
    const DeploymentList &results, const States &before, bool isFirst, RememberedResults::Changes &changes) const
{
    if (results.isEmpty())
        return;
    const auto keys = m_results.keys();
    for (const auto &result : results) {
        if (keys.known.contains(resultKey(result)) || isQueued(result))
            continue;
        if (isFirst && isHistory(result, before.value({&result}, DeploymentState::Unknown), keys))
            changes.history.append(result);
        else if (const auto announcement = m_choices.announcementOf(result); announcement == Announcement::Posted)
            changes.waiting.append(result);
        else if (announcement != Announcement::None)
            changes.silenced.append(result);
    }
    std::ranges::stable_sort(
        changes.waiting, {}, [](const SharedDeployment &result) { return announcedKind(result.state()); });
}

void ResultAnnouncer::recordHistory(const DeploymentList &previous, const DeploymentList &deployments)
{
    const States before = statesByID(previous);
    const auto keys = m_results.keys();
    RememberedResults::Changes changes;
    std::ranges::copy_if(deployments, std::back_inserter(changes.history), [&](const SharedDeployment &deployment) {
        return announcedKind(deployment.state()) && !keys.known.contains(resultKey(deployment))
            && isHistory(deployment, before.value({&deployment}, DeploymentState::Unknown), keys);
    });
    m_scope.launch(keep(std::move(changes)), "Recording history");
}

/// Whether the deployment was approved before the desktop was ready to announce that it waits.
bool ResultAnnouncer::isOver(const DeploymentSnapshot &result) const
{
    return isActive(result.state) && std::ranges::none_of(m_latest, [&](const DeploymentSnapshot &latest) {
        return latest.id == result.id && latest.state == result.state;
    });
}

bool ResultAnnouncer::isQueued(const DeploymentSnapshot &result) const
{
    return std::ranges::any_of(m_queue,
        [&](const DeploymentSnapshot &queued) { return queued.id == result.id && queued.state == result.state; });
}

/// Posts until the queue is empty, including what is queued meanwhile.
QCoro::Task<> ResultAnnouncer::postQueue()
{
    const QPointer<ResultAnnouncer> self(this);
    const std::stop_token stop = m_scope.stopToken();
    m_isPosting = true;
    while (!m_queue.isEmpty()) {
        co_await m_notifier->untilReady(stop);
        if (!self)
            co_return;
        co_await post(m_queue.first());
        if (!self)
            co_return;
        m_queue.removeFirst();
    }
    m_isPosting = false;
}

/// Remembers the result before it posts: if the program ends in between, one notification is lost. In the other order
/// it would be posted twice.
QCoro::Task<> ResultAnnouncer::post(DeploymentSnapshot result)
{
    const auto kind = announcedKind(result.state);
    const Announcement announcement = m_choices.announcementOf(result);
    if (!kind || announcement == Announcement::None || isOver(result)) {
        m_results.giveUp(result);
        co_return;
    }
    const QPointer<ResultAnnouncer> self(this);
    const bool isOurs = co_await m_results.claim(result);
    if (!self || !isOurs)
        co_return;
    if (announcement == Announcement::Paused) {
        const DeploymentList paused(1, result);
        co_await m_choices.pause().note(paused);
    } else if (announcement == Announcement::Posted) {
        co_await delivered(m_notifier->notify(result, *kind));
    }
}

void ResultAnnouncer::followClock()
{
    m_choices.forgetOver();
    if (m_choices.pause().hasFailures() && !std::exchange(m_isSummarizing, true))
        m_scope.launch(postSummary(), "Summing up a pause");
}

/// What the user does not want announced any more is left out.
QCoro::Task<> ResultAnnouncer::postSummary()
{
    const QPointer<ResultAnnouncer> self(this);
    const std::stop_token stop = m_scope.stopToken();
    co_await m_notifier->untilReady(stop);
    if (!self)
        co_return;
    DeploymentList failures = co_await m_choices.pause().takeFailures();
    if (!self)
        co_return;
    m_isSummarizing = false;
    failures.removeIf([this](const SharedDeployment &failure) { return !m_choices.isSummedUp(failure); });
    if (!failures.isEmpty())
        co_await delivered(m_notifier->notifyGroup(failures, DeploymentNotificationKind::Failure));
}

} // namespace velmora
