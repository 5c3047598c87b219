// SPDX-License-Identifier: MIT
#include "monitor/deployment_fetcher.h"

#include "accounts/account_stop.h"
#include "accounts/authorized_requests.h"
#include "github/pausing_session.h"
#include "installations/installation_store.h"
#include "monitor/deployment_list.h"
#include "monitor/fetch_outcomes.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>
#include <iterator>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(monitorLog, "velmora.monitor", QtWarningMsg)

/// Ends with a cancellation as soon as the account is removed.
QCoro::Task<DeploymentFetchResult> fetchForIdentity(GitHubClient client, AuthenticationStore *authentication,
    qint64 identityID, QList<RepositoryRecord> repositories, std::stop_token stop)
{
    const AccountStop whileListed(authentication, identityID, stop);
    const std::stop_token requestStop = whileListed.token();
    AuthorizedRequests requests(authentication->promptCredentials(), identityID, stop);
    const std::function<QCoro::Task<DeploymentFetchResult>(QString)> fetch = [=](const QString &accessToken) {
        return client.fetchDeployments(repositories, accessToken, requestStop);
    };
    auto result = co_await requests.send(fetch);
    co_return result;
}

} // namespace

DeploymentFetcher::DeploymentFetcher(
    GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, FetchOutcomes *outcomes, QObject *parent)
    : QObject(parent)
    , m_client(std::move(client))
    , m_rateLimits(std::move(rateLimits))
    , m_outcomes(outcomes)
{
    m_client.remember();
}

QCoro::Task<FetchedDeployments> DeploymentFetcher::fetch(
    QList<RepositoryRecord> repositories, RefreshContext context, RefreshScope scope, std::stop_token stop)
{
    const QPointer<DeploymentFetcher> self(this);
    FetchedDeployments fetched;
    fetched.scope = scope;
    const auto sessions = context.authentication->sessions();
    for (const auto &session : sessions) {
        const auto identityID = session.id();
        const auto own = ofIdentities(repositories, QSet<qint64>{identityID});
        // The account may have been removed, or paused, since the fetch began.
        if (own.isEmpty() || !context.listedIdentities().contains(identityID) || m_outcomes->pausedUntil(identityID))
            continue;
        const auto client = clientOfIdentity(m_client, m_rateLimits, identityID);
        DeploymentFetchResult result;
        std::exception_ptr failure;
        try {
            result = co_await fetchForIdentity(client, context.authentication, identityID, own, stop);
        } catch (...) {
            failure = std::current_exception();
        }
        if (!self)
            co_return fetched;
        if (!context.listedIdentities().contains(identityID))
            continue;
        if (failure) {
            qCInfo(monitorLog).noquote() << "Identity" << identityID << "failed:" << describe(failure);
            m_outcomes->recordFailure(identityID, failure, context.authentication->explain(identityID, failure));
            fetched.hasBrokenOff = fetched.hasBrokenOff || m_outcomes->isBrokenOff(failure);
        } else {
            m_outcomes->recordAnswer(identityID, own, result, scope);
            fetched.add(identityID, own, std::move(result));
        }
    }
    co_return fetched;
}

void DeploymentFetcher::forgetUnmonitored(const RefreshContext &context) const
{
    m_client.forgetAllBut(context.monitoredIDs());
}

void FetchedDeployments::add(qint64 identityID, const QList<RepositoryRecord> &asked, DeploymentFetchResult &&result)
{
    succeeded.insert(identityID);
    for (const QString &nodeID : std::as_const(result.repositoryNodeIDs))
        owners.insert(nodeID, identityID);
    QSet<QString> withoutAnswer;
    for (const auto &repository : std::as_const(result.unanswered))
        withoutAnswer.insert(repository.nodeID);
    for (const RepositoryRecord &record : asked)
        (withoutAnswer.contains(record.id()) ? unanswered : repositories).append(record);
    deployments += std::move(result.deployments);
}

void FetchedDeployments::dropUnmonitored(const RefreshContext &context)
{
    const auto listed = context.listedIdentities();
    succeeded &= listed;
    const auto monitored = context.monitoredIDs();
    const auto isDropped = [&](const RepositoryRecord &record) {
        return !monitored.contains(record.id());
    };
    std::ranges::copy_if(repositories, std::back_inserter(unmonitored), isDropped);
    if (unmonitored.isEmpty())
        return;
    repositories.removeIf(isDropped);
    const RepositoryIndex index(unmonitored);
    deployments.removeIf([&](const DeploymentSnapshot &deployment) { return index.find(deployment) != nullptr; });
}

QList<RepositoryRecord> ofIdentities(const QList<RepositoryRecord> &repositories, const QSet<qint64> &identities)
{
    QList<RepositoryRecord> result;
    std::ranges::copy_if(repositories, std::back_inserter(result),
        [&](const RepositoryRecord &record) { return identities.contains(record.identityID); });
    return result;
}

} // namespace velmora
