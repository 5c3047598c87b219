// SPDX-License-Identifier: MIT
#pragma once

#include "github/rate_limit_ledger.h"
#include "github/repository_record.h"
#include "monitor/identity_health.h"
#include "monitor/polling_pace.h"
#include "monitor/refresh_context.h"
#include "monitor/unanswered_repositories.h"
#include "support/clock.h"

#include <QHash>
#include <QList>
#include <QSet>

#include <exception>
#include <functional>
#include <memory>
#include <optional>

namespace velmora
{

class PollingLoop;
struct GitHubAccountSession;
struct InstallationFailure;

/// How the last requests of each identity ended; hence which identities may be asked now, and what the user is told.
/// Everything is timed by the clock when it is recorded.
class FetchOutcomes
{
public:
    /// The clock and the loop are not owned and outlive this object. While the loop is held, the machine's sleep breaks
    /// requests off, which does not count as a failure. For `random` see IdentityHealth.
    FetchOutcomes(std::shared_ptr<RateLimitLedger> rateLimits, const Clock *clock, const PollingLoop *loop,
        std::function<double()> random);

    /// Those of the identities that neither wait after a failure nor are paused.
    [[nodiscard]] QSet<qint64> askable(QSet<qint64> identities) const;
    /// Until when a rate limit pauses the identity; nothing when it does not.
    [[nodiscard]] std::optional<Instant> pausedUntil(qint64 identityID) const;
    [[nodiscard]] bool hasFailed(qint64 identityID) const { return m_health.hasFailed(identityID); }
    /// A line for each identity that failed (its login, ": ", why), and one for each reason for which repositories went
    /// unanswered; empty when there is none.
    [[nodiscard]] QString message(const QList<GitHubAccountSession> &sessions) const;

    /// Which repositories the points allow to ask for.
    [[nodiscard]] PollingPace &pace() { return m_pace; }
    [[nodiscard]] const PollingPace &pace() const { return m_pace; }

    /// The identity that failed is askable at once.
    void retryNow(qint64 identityID) { m_health.retryNow(identityID); }
    void retryAllNow() { m_health.retryAllNow(); }

    /// GitHub answered for these repositories.
    void recordAnswer(qint64 identityID, const QList<RepositoryRecord> &asked, const DeploymentFetchResult &result,
        RefreshScope scope);
    /// The identity has no repositories to ask for, which is a success.
    void recordNothingToFetch(qint64 identityID) { m_health.clearFailure(identityID); }
    /// The fetch failed: a refusal for the rate limit pauses the identity, a request that broke off counts for nothing.
    /// `explanation` is what the user reads of any other failure.
    void recordFailure(qint64 identityID, const std::exception_ptr &failure, const QString &explanation);
    /// Whether the machine's sleep ended the request, which is to be made again.
    [[nodiscard]] bool isBrokenOff(const std::exception_ptr &failure) const;

    /// The installations of the asked identities have been loaded, but for these failures.
    void recordInstallationFailures(const QList<InstallationFailure> &failures, const QSet<qint64> &asked);
    /// Records the failures of a load that another caller started, once for each identity.
    void adoptInstallationFailures(const QList<InstallationFailure> &failures);
    /// Drops the failures of paused identities: the refusal is the newer answer, and none follows until the pause ends.
    void clearFailuresOfPaused(const QSet<qint64> &identities);

    /// Forgets the identities that are not listed any more.
    void retainIdentities(const QSet<qint64> &listed);
    /// Forgets the repositories that are not monitored any more.
    void retainRepositories(const QList<RepositoryRecord> &monitored) { m_unanswered.retain(monitored); }

private:
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    const Clock *m_clock;
    const PollingLoop *m_loop;
    IdentityHealth m_health;
    PollingPace m_pace;
    UnansweredRepositories m_unanswered;
};

} // namespace velmora
