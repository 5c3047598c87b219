// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "github/repository_record.h"
#include "model/deployment_fetch_result.h"
#include "monitor/refresh_context.h"

#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

#include <memory>
#include <stop_token>

namespace velmora
{

class FetchOutcomes;

/// What a fetch brought.
struct FetchedDeployments {
    RefreshScope scope = RefreshScope::All;
    QSet<qint64> succeeded; ///< the identities whose answer came, or that had nothing to ask for
    QSet<qint64> inPart; ///< the identities of which a full fetch asked only for what PollingPace lets be asked
    QList<RepositoryRecord> repositories; ///< of those identities, and answered
    QList<RepositoryRecord> unmonitored; ///< answered, but no longer monitored when the fetch ended
    QList<RepositoryRecord> unanswered; ///< of those identities, but GitHub gave a reason instead of an answer
    DeploymentList deployments; ///< of `repositories`
    QHash<QString, qint64> owners; ///< the identity through which a repository was fetched, by node id
    bool hasBrokenOff = false; ///< the machine fell asleep over a request, which is to be made again

    /// Adds the answer to one identity.
    void add(qint64 identityID, const QList<RepositoryRecord> &asked, DeploymentFetchResult &&result);

    /// Takes out what is no longer monitored, or whose account is no longer listed. It is not to be shown or announced.
    void dropUnmonitored(const RefreshContext &context);

    friend bool operator==(const FetchedDeployments &, const FetchedDeployments &) = default;
};

/// Fetches the deployments of repositories, one identity after the other, and records how that went for each.
class DeploymentFetcher final : public QObject
{
    Q_OBJECT

public:
    /// The outcomes are not owned and outlive the fetcher. The ledger is the one that they use.
    DeploymentFetcher(GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, FetchOutcomes *outcomes,
        QObject *parent = nullptr);

    /// What GitHub tells of the repositories now, in the order of the sessions. Throws nothing: an identity that fails
    /// is not among those that succeeded. One that is removed or paused meanwhile is asked no further.
    [[nodiscard]] QCoro::Task<FetchedDeployments> fetch(
        QList<RepositoryRecord> repositories, RefreshContext context, RefreshScope scope, std::stop_token stop);

    /// Lets go of the answers about repositories that are no longer monitored.
    void forgetUnmonitored(const RefreshContext &context) const;

private:
    GitHubClient m_client;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    FetchOutcomes *m_outcomes;
};

/// The repositories of these identities, in their order.
[[nodiscard]] QList<RepositoryRecord> ofIdentities(
    const QList<RepositoryRecord> &repositories, const QSet<qint64> &identities);

} // namespace velmora
