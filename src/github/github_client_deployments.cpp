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
constexpr qsizetype kMostDeploymentsOfARepository = 20;

/// Decodes the answer and appends its deployments; returns its rate limit.
DeploymentRateLimit appendAnswer(
    QList<DeploymentSnapshot> &deployments, const HTTPResponse &response, const Clock &clock)
{
    requireSuccess(response, &clock);
    const auto resumeAt = resumeInstant(response, clock.now());
    const JSONDocument document(response.body);
    return appendResult(deployments, payload(decodeJSON<GitHubDeploymentGraphQLResponse>(document), resumeAt));
}

QCoro::Task<DeploymentFetchResult> fetchBatchOf(
    GitHubClient client, QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop)
{
    HTTPRequest request = client.deploymentsRequest(repositoryNodeIDs, accessToken);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    DeploymentFetchResult result;
    result.rateLimit = appendAnswer(result.deployments, response, *client.clock);
    co_return result;
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

void merge(DeploymentRateLimit &whole, const DeploymentRateLimit &batch)
{
    if (__builtin_add_overflow(whole.cost, batch.cost, &whole.cost))
        whole.cost = std::numeric_limits<qint64>::max();
    whole.remaining = std::min(whole.remaining, batch.remaining);
    whole.resetAt = std::max(whole.resetAt, batch.resetAt);
}

QCoro::Task<DeploymentFetchResult> fetchOf(
    GitHubClient client, QList<RepositoryRecord> repositories, QString accessToken, std::stop_token stop)
{
    DeploymentFetchResult whole;
    if (repositories.isEmpty())
        co_return whole;
    whole.rateLimit.remaining = std::numeric_limits<qint64>::max();
    whole.deployments.reserve(repositories.size() * kMostDeploymentsOfARepository);
    for (qsizetype first = 0; first < repositories.size(); first += kBatchSize) {
        HTTPRequest request = client.deploymentsRequest(nodeIDs(repositories, first), accessToken);
        const HTTPResponse response = co_await client.session->send(std::move(request), stop);
        merge(whole.rateLimit, appendAnswer(whole.deployments, response, *client.clock));
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
