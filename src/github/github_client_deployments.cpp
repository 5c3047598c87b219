// SPDX-License-Identifier: MIT
#include "github/deployments_query.h"
#include "github/github_client.h"
#include "github/github_client_requests.h"
#include "support/json.h"

#include <limits>

namespace velmora
{

namespace
{

constexpr qsizetype kBatchSize = 20;

QCoro::Task<DeploymentFetchResult> fetchBatchOf(
    GitHubClient client, QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop)
{
    HTTPRequest request = client.deploymentsRequest(repositoryNodeIDs, accessToken);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    const auto resumeAt = resumeInstant(response, client.clock->now());
    auto decoded = decodeJSON<GitHubDeploymentGraphQLResponse>(response.body);
    const auto data = payload(std::move(decoded), resumeAt);
    co_return fetchResult(data);
}

QStringList nodeIDs(const QList<RepositoryRecord> &repositories, qsizetype first)
{
    const qsizetype end = std::min(first + kBatchSize, repositories.size());
    QStringList ids;
    ids.reserve(end - first);
    for (qsizetype i = first; i < end; ++i)
        ids.append(repositories.at(i).repository.nodeID);
    return ids;
}

void merge(DeploymentFetchResult &whole, DeploymentFetchResult batch)
{
    whole.deployments.append(std::move(batch.deployments));
    if (__builtin_add_overflow(whole.rateLimit.cost, batch.rateLimit.cost, &whole.rateLimit.cost))
        whole.rateLimit.cost = std::numeric_limits<qint64>::max();
    whole.rateLimit.remaining = std::min(whole.rateLimit.remaining, batch.rateLimit.remaining);
    whole.rateLimit.resetAt = std::max(whole.rateLimit.resetAt, batch.rateLimit.resetAt);
}

QCoro::Task<DeploymentFetchResult> fetchOf(
    GitHubClient client, QList<RepositoryRecord> repositories, QString accessToken, std::stop_token stop)
{
    DeploymentFetchResult whole;
    if (repositories.isEmpty())
        co_return whole;
    whole.rateLimit.remaining = std::numeric_limits<qint64>::max();
    for (qsizetype first = 0; first < repositories.size(); first += kBatchSize) {
        QStringList ids = nodeIDs(repositories, first);
        DeploymentFetchResult batch = co_await fetchBatchOf(client, std::move(ids), accessToken, stop);
        merge(whole, std::move(batch));
    }
    co_return whole;
}

} // namespace

HTTPRequest GitHubClient::deploymentsRequest(const QStringList &repositoryNodeIDs, const QString &accessToken) const
{
    GitHubGraphQLRequest query;
    query.query = deploymentsQueryText();
    query.variables.ids = repositoryNodeIDs;
    HTTPRequest request;
    request.method = "POST";
    request.url = graphqlURL.isEmpty() ? appendingPath(apiURL, QStringLiteral("graphql")) : graphqlURL;
    request.headers = {{"Authorization", bearer(accessToken)}, {"Content-Type", "application/json"},
        {"Accept", "application/vnd.github+json"}};
    request.body = encodeJSON(query);
    return request;
}

QCoro::Task<DeploymentFetchResult> GitHubClient::fetchDeploymentBatch(
    QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop) const
{
    return fetchBatchOf(*this, std::move(repositoryNodeIDs), std::move(accessToken), std::move(stop));
}

QCoro::Task<DeploymentFetchResult> GitHubClient::fetchDeployments(
    QList<RepositoryRecord> repositories, QString accessToken, std::stop_token stop) const
{
    return fetchOf(*this, std::move(repositories), std::move(accessToken), std::move(stop));
}

} // namespace velmora
