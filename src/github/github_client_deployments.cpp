// SPDX-License-Identifier: MIT
#include "github/deployments_query.h"
#include "github/github_client.h"
#include "github/github_client_requests.h"
#include "github/paused_error.h"
#include "support/json.h"

#include <limits>

namespace velmora
{

namespace
{

constexpr qsizetype kBatchSize = 20;
constexpr qsizetype kMostDeploymentsOfARepository = 20;

RateLimitUse rateLimitUseOf(const GitHubClient &client)
{
    const bool isGitHub = client.endpointForDeployments().host() == QLatin1String("api.github.com");
    return isGitHub ? RateLimitUse::Always : RateLimitUse::Configurable;
}

/// Decodes the response for these repositories and appends it to `result`. Returns its rate limit.
DeploymentRateLimit appendAnswer(
    DeploymentFetchResult &result, const QStringList &nodeIDs, const HTTPResponse &response, const GitHubClient &client)
{
    requireSuccess(response, client.clock);
    const auto resumeAt = resumeInstant(response, client.clock->now());
    const JSONDocument document(response.body);
    auto answer = decodeJSON<GitHubDeploymentGraphQLResponse>(document);
    result.unanswered += unansweredRepositories(answer, nodeIDs);
    return appendResult(result.deployments, payload(std::move(answer), resumeAt), rateLimitUseOf(client));
}

QCoro::Task<DeploymentFetchResult> fetchBatchOf(
    GitHubClient client, QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop)
{
    HTTPRequest request = client.deploymentsRequest(repositoryNodeIDs, accessToken);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    DeploymentFetchResult result;
    result.rateLimit = appendAnswer(result, repositoryNodeIDs, response, client);
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
    whole.rateLimit = DeploymentRateLimit::none();
    whole.deployments.reserve(repositories.size() * kMostDeploymentsOfARepository);
    for (qsizetype first = 0; first < repositories.size(); first += kBatchSize) {
        const QStringList ids = nodeIDs(repositories, first);
        HTTPRequest request = client.deploymentsRequest(ids, accessToken);
        const HTTPResponse response = co_await client.session->send(std::move(request), stop);
        const DeploymentRateLimit limit = appendAnswer(whole, ids, response, client);
        merge(whole.rateLimit, limit);
        // GitHub would refuse the next batch, and may penalise the account for it.
        const bool isLast = first + kBatchSize >= repositories.size();
        if (!isLast && limit.remaining < limit.cost && limit.resetAt > client.clock->now())
            throw PausedError(limit.resetAt);
    }
    co_return whole;
}

} // namespace

QUrl GitHubClient::endpointForDeployments() const
{
    return graphqlURL.isEmpty() ? appendingPath(apiURL, QStringLiteral("graphql")) : graphqlURL;
}

HTTPRequest GitHubClient::deploymentsRequest(const QStringList &repositoryNodeIDs, const QString &accessToken) const
{
    GitHubGraphQLRequest query;
    query.query = deploymentsQueryText();
    query.variables.ids = repositoryNodeIDs;
    HTTPRequest request;
    request.method = "POST";
    request.url = endpointForDeployments();
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
