// SPDX-License-Identifier: MIT
#include "monitor/deployment_fetcher.h"

#include "accounts/account_stop.h"
#include "accounts/authorized_requests.h"
#include "github/pausing_session.h"
#include "monitor/fetch_outcomes.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>
#include <iterator>
#include <optional>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(monitorLog, "velmora.monitor", QtWarningMsg)

/// How the fetch for one identity ended: with a result or a failure.
struct IdentityOutcome {
    std::optional<DeploymentFetchResult> result;
    std::exception_ptr failure;
};

/// Ends with a cancellation as soon as the account is removed.
QCoro::Task<IdentityOutcome> fetchForIdentity(GitHubClient client, AuthenticationStore *authentication,
    qint64 identityID, QList<RepositoryRecord> repositories, std::stop_token stop)
{
    IdentityOutcome outcome;
    const AccountStop whileListed(authentication, identityID, stop);
    const std::stop_token requestStop = whileListed.token();
    AuthorizedRequests requests(authentication->promptCredentials(), identityID, stop);
    const std::function<QCoro::Task<DeploymentFetchResult>(QString)> fetch = [=](const QString &accessToken) {
        return client.fetchDeployments(repositories, accessToken, requestStop);
    };
    try {
        auto result = co_await requests.send(fetch);
        outcome.result = std::move(result);
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    co_return outcome;
}

} // namespace

DeploymentFetcher::DeploymentFetcher(
    GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, FetchOutcomes *outcomes, QObject *parent)
    : QObject(parent)
    , m_client(std::move(client))
    , m_rateLimits(std::move(rateLimits))
    , m_outcomes(outcomes)
{
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
        auto outcome = co_await fetchForIdentity(client, context.authentication, identityID, own, stop);
        if (!self)
            co_return fetched;
        if (!context.listedIdentities().contains(identityID))
            continue;
        if (outcome.result) {
            m_outcomes->recordAnswer(identityID, own, *outcome.result, scope);
            fetched.add(identityID, own, std::move(*outcome.result));
        } else {
            recordFailure(context, identityID, outcome.failure, fetched);
        }
    }
    co_return fetched;
}

void DeploymentFetcher::recordFailure(
    const RefreshContext &context, qint64 identityID, const std::exception_ptr &failure, FetchedDeployments &fetched)
{
    qCInfo(monitorLog).noquote() << "Identity" << identityID << "failed:" << describe(failure);
    m_outcomes->recordFailure(identityID, failure, context.authentication->explain(identityID, failure));
    fetched.hasBrokenOff = fetched.hasBrokenOff || m_outcomes->isBrokenOff(failure);
}

QList<RepositoryRecord> ofIdentities(const QList<RepositoryRecord> &repositories, const QSet<qint64> &identities)
{
    QList<RepositoryRecord> result;
    std::ranges::copy_if(repositories, std::back_inserter(result),
        [&](const RepositoryRecord &record) { return identities.contains(record.identityID); });
    return result;
}

} // namespace velmora
