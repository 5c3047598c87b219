// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "monitor/fetched_deployments.h"
#include "monitor/refresh_context.h"

#include <QCoroTask>
#include <QObject>

#include <memory>
#include <stop_token>

namespace velmora
{

class FetchOutcomes;

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

private:
    void recordFailure(const RefreshContext &context, qint64 identityID, const std::exception_ptr &failure,
        FetchedDeployments &fetched);

    GitHubClient m_client;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    FetchOutcomes *m_outcomes;
};

/// The repositories of these identities, in their order.
[[nodiscard]] QList<RepositoryRecord> ofIdentities(
    const QList<RepositoryRecord> &repositories, const QSet<qint64> &identities);

} // namespace velmora
