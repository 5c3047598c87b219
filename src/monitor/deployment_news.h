// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "monitor/refresh_context.h"
#include "monitor/result_announcer.h"

#include <QHash>

namespace velmora
{

/// Tells news from history after a refresh, and has the news announced.
///
/// News is what happens while Velmora looks, and the end of a deployment that the list held as under way. The first
/// answer for a repository is otherwise history, which is recorded and not announced.
class DeploymentNews
{
public:
    /// The pointers are not owned and outlive this object.
    DeploymentNews(DeploymentNotifying *notifier, Preferences *defaults, const Clock *clock);

    /// What the user has chosen to be announced.
    [[nodiscard]] AnnouncementChoices &choices() { return m_announcer.choices(); }

    /// See ResultAnnouncer.
    void followClock() { m_announcer.followClock(); }

    /// The saved list was loaded. When it was saved less than an hour ago, the Velmora that saved it hands over to this
    /// one, and what happened since is news.
    void adoptSaved(Instant savedAt, Instant now);

    /// The list with which the next one is compared: `shown`, or an empty one while `shown` is from an earlier run that
    /// does not hand over.
    [[nodiscard]] DeploymentList comparable(const DeploymentList &shown) const;

    /// `fetched` were answered for the identities of the context. Records the history of those that were answered for
    /// the first time.
    void recordFetch(const RefreshContext &context, const QList<RepositoryRecord> &fetched,
        const DeploymentList &previous, const DeploymentList &updated);
    /// See ResultAnnouncer::process().
    [[nodiscard]] QCoro::Task<> announce(DeploymentList previous, DeploymentList updated)
    {
        return m_announcer.process(std::move(previous), std::move(updated));
    }

    /// Forgets the repositories that are not monitored any more: what happens until they are monitored again is history
    /// by then. Those of unloaded identities stay, since which of them are monitored is not known.
    void forgetUnmonitored(const RefreshContext &context);
    void forgetAll() { m_answered.clear(); }

private:
    QList<RepositoryRecord> addAnswered(const QList<RepositoryRecord> &fetched);

    /// The repositories that were answered in this run: the identity that asked, by the id of the repository.
    QHash<QString, qint64> m_answered;
    bool m_isHandedOver = false;
    ResultAnnouncer m_announcer;
};

} // namespace velmora
