// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/announcement_choices.h"
#include "monitor/remembered_results.h"
#include "notifications/deployment_notifying.h"
#include "support/task_scope.h"

#include <QHash>
#include <QObject>

namespace velmora
{

/// Posts at most one notification for each deployment and result, over all processes and runs of the profile: what was
/// announced is remembered in the preferences. AnnouncementChoices says which results are posted.
///
/// What fails during a pause of the notifications is summed up by one of them at the end of the pause.
///
/// Notifications are posted in order, one at a time, from a queue that holds up no refresh. The queue is saved: what a
/// process has not posted when it ends, the next one posts.
class ResultAnnouncer final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the announcer.
    ResultAnnouncer(
        DeploymentNotifying *notifier, Preferences *defaults, const Clock *clock, QObject *parent = nullptr);

    /// What the user has chosen to be announced.
    [[nodiscard]] AnnouncementChoices &choices() { return m_choices; }

    /// Forgets choices whose time is over, and sums up what failed during a pause that has ended. To be called now and
    /// then; a pause that the user ends is followed at once.
    void followClock();

    /// Whether process() was called in this run.
    [[nodiscard]] bool hasCompletedLiveRefresh() const { return m_hasCompletedLiveRefresh; }

    /// Queues the results of `updated` that `previous` did not have, failures first, then successes, then what waits
    /// for approval. The first call does recordHistory(), and queues what is left and what an earlier run has not
    /// posted. A notification that could not be delivered counts as announced. A repeated id in `previous` is a fatal
    /// error.
    ///
    /// Ends when the queue is stored, or could not be, and waits for no notification.
    [[nodiscard]] QCoro::Task<> process(DeploymentList previous, DeploymentList updated);

    /// Remembers the results among the deployments as history, which is not announced. Left out are the new results of
    /// deployments that were under way in `previous`, and results that an earlier run has not posted.
    void recordHistory(const DeploymentList &previous, const DeploymentList &deployments);

private:
    using States = QHash<DeploymentID, DeploymentState>;

    [[nodiscard]] bool isQueued(const DeploymentSnapshot &result) const;
    [[nodiscard]] bool isOver(const DeploymentSnapshot &result) const;
    [[nodiscard]] QCoro::Task<> take(const DeploymentList &previous, const DeploymentList &updated);
    void sortOut(
        const DeploymentList &results, const States &before, bool isFirst, RememberedResults::Changes &changes) const;
    [[nodiscard]] QCoro::Task<> keep(RememberedResults::Changes changes);
    QCoro::Task<> postQueue();
    QCoro::Task<> postSummary();
    QCoro::Task<> post(DeploymentSnapshot result);

    DeploymentNotifying *m_notifier;
    AnnouncementChoices m_choices;
    RememberedResults m_results;
    bool m_hasCompletedLiveRefresh = false;
    DeploymentList m_latest; ///< the list of the last process()
    DeploymentList m_queue; ///< the first is the one that is being posted
    bool m_isPosting = false;
    bool m_isSummarizing = false;
    TaskScope m_scope;
};

} // namespace velmora
