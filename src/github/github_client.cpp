// SPDX-License-Identifier: MIT
#include "github/github_client.h"

#include "github/github_requests.h"
#include "github/paused_error.h"
#include "github/wire/device_flow.h"
#include "github/wire/known_deployments.h"
#include "github/wire/responses.h"
#include "support/erased.h"
#include "support/json.h"
#include "support/json_document.h"

#include <QSet>

#include <limits>

// Operations begin with a copy of their client and use only that, since they may outlive it.

namespace velmora
{

namespace
{

constexpr qsizetype kPageSize = 100;

/// Sleeps in pieces of a day, since timers limit the duration.
QCoro::Task<> sleepSeconds(Clock *clock, qint64 duration, std::stop_token stop)
{
    constexpr qint64 kPiece = 86'400;
    qint64 left = std::max<qint64>(duration, 0);
    do {
        const std::chrono::seconds piece(std::min(left, kPiece));
        co_await clock->sleep(piece, stop);
        left -= piece.count();
    } while (left > 0);
}

HTTPRequest authorizedRequest(const GitHubClient &client, QUrl url, const QString &accessToken)
{
    HTTPRequest request;
    request.url = std::move(url);
    request.headers = {{"Authorization", bearer(accessToken)}, {"Accept", "application/vnd.github+json"},
        {"X-GitHub-Api-Version", client.apiVersion}};
    return request;
}

HTTPRequest pageRequest(const GitHubClient &client, const QString &path, int page, const QString &accessToken)
{
    return client.getRequest(path,
        {{QStringLiteral("per_page"), QString::number(kPageSize)}, {QStringLiteral("page"), QString::number(page)}},
        accessToken);
}

/// All items of an endpoint, page by page until a page is not full. Drops duplicates: an item moves to the next page
/// when a new one is inserted before it meanwhile.
template <typename Page, typename Item, typename ID>
QCoro::Task<QList<Item>> fetchPages(GitHubClient client, QString path, QString accessToken,
    QList<Item> Page::*itemsOfPage, ID Item::*id, std::stop_token stop)
{
    QList<Item> items;
    QSet<ID> ids;
    qsizetype found = kPageSize;
    for (int number = 1; found == kPageSize; ++number) {
        HTTPRequest request = pageRequest(client, path, number, accessToken);
        const HTTPResponse response = co_await client.session->send(std::move(request), stop);
        requireSuccess(response, client.clock);
        Page page = decodeJSON<Page>(response.body);
        QList<Item> more = std::move(page.*itemsOfPage);
        found = more.size();
        more.removeIf([&ids, id](const Item &item) {
            const bool isKnown = ids.contains(item.*id);
            ids.insert(item.*id);
            return isKnown;
        });
        // A server that ignores the page number would keep this loop running for ever.
        if (found == kPageSize && more.isEmpty())
            throw GitHubClientError::repeatedPage();
        items.append(std::move(more));
    }
    co_return items;
}

RateLimitUse rateLimitUseOf(const GitHubClient &client)
{
    const bool isGitHub = client.endpointForDeployments().host() == QLatin1String("api.github.com");
    return isGitHub ? RateLimitUse::Always : RateLimitUse::Configurable;
}

QStringList nodeIDs(const QList<RepositoryRecord> &repositories)
{
    QStringList ids;
    ids.reserve(repositories.size());
    for (const RepositoryRecord &record : repositories)
        ids.append(record.repository.nodeID);
    return ids;
}

void merge(DeploymentRateLimit &whole, const DeploymentRateLimit &batch)
{
    if (__builtin_add_overflow(whole.cost, batch.cost, &whole.cost))
        whole.cost = std::numeric_limits<qint64>::max();
    whole.remaining = std::min(whole.remaining, batch.remaining);
    whole.resetAt = std::max(whole.resetAt, batch.resetAt);
}

void add(DeploymentFetchResult &whole, const DeploymentBatch &batch)
{
    for (const auto &deployments : batch.repositories) {
        whole.deployments.append(deployments);
        if (!deployments.isEmpty())
            whole.repositoryNodeIDs.append(deployments.first()->repositoryNodeID);
    }
    whole.unanswered.append(batch.unanswered);
    merge(whole.rateLimit, batch.rateLimit);
}

QCoro::Task<DeploymentBatch> fetchBatch(GitHubClient client, QStringList ids, QString accessToken, std::stop_token stop)
{
    HTTPRequest request = client.deploymentsRequest(ids, accessToken);
    HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    response.body.squeeze(); // it may be kept
    const auto resumeAt = resumeInstant(response, client.clock->now());
    const auto use = rateLimitUseOf(client);
    co_return client.known ? client.known->decoded(response.body, ids, use, resumeAt)
                           : decodedBatch(response.body, ids, use, resumeAt);
}

} // namespace

QCoro::Task<DeviceAuthorization> GitHubClient::beginDeviceAuthorization(std::stop_token stop) const
{
    const GitHubClient client(*this);
    if (client.clientID.isEmpty())
        throw GitHubClientError::invalidConfiguration();
    QMap<QString, QString> values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    HTTPRequest request = formRequest(appendingPath(client.loginURL, QStringLiteral("device/code")), values);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    DeviceFlow::requireUsableApp(response);
    requireSuccess(response, client.clock);
    co_return decodeJSON<DeviceAuthorization>(response.body);
}

QCoro::Task<GitHubCredential> GitHubClient::waitForDeviceAuthorization(
    DeviceAuthorization authorization, std::stop_token stop) const
{
    const GitHubClient client(*this);
    DeviceFlow flow(authorization, client.clock->now());
    QMap<QString, QString> values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    values.insert(QStringLiteral("device_code"), authorization.deviceCode);
    values.insert(QStringLiteral("grant_type"), QStringLiteral("urn:ietf:params:oauth:grant-type:device_code"));
    while (true) {
        co_await sleepSeconds(client.clock, flow.pauseBeforePoll(client.clock->now()), stop);
        std::exception_ptr failure;
        GitHubOAuthResponse response;
        try {
            response = co_await client.requestToken(values, stop);
        } catch (...) {
            failure = std::current_exception();
        }
        if (response.accessToken)
            co_return GitHubCredential::fromResponse(response, client.clock->now());
        if (failure)
            flow.handle(failure);
        else
            flow.handle(response);
    }
}

QCoro::Task<GitHubCredential> GitHubClient::refresh(GitHubCredential credential, std::stop_token stop) const
{
    const GitHubClient client(*this);
    if (!credential.refreshToken)
        throw GitHubClientError::missingRefreshToken();
    QMap<QString, QString> values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    values.insert(QStringLiteral("grant_type"), QStringLiteral("refresh_token"));
    values.insert(QStringLiteral("refresh_token"), *credential.refreshToken);
    const GitHubOAuthResponse response = co_await client.requestToken(std::move(values), stop);
    co_return GitHubCredential::fromResponse(response, client.clock->now());
}

QCoro::Task<GitHubOAuthResponse> GitHubClient::requestToken(QMap<QString, QString> values, std::stop_token stop) const
{
    const GitHubClient client(*this);
    HTTPRequest request = formRequest(appendingPath(client.loginURL, QStringLiteral("oauth/access_token")), values);
    // GitHub uses up the refresh token or device code even if its response gets lost.
    request.isUnrepeatable = true;
    HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    auto tokens = decodeJSON<GitHubOAuthResponse>(response.body);
    erase(response.body);
    co_return tokens;
}

QCoro::Task<GitHubUser> GitHubClient::fetchUser(QString accessToken, std::stop_token stop) const
{
    const GitHubClient client(*this);
    HTTPRequest request = authorizedRequest(client, appendingPath(client.apiURL, QStringLiteral("user")), accessToken);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    co_return decodeJSON<GitHubUser>(response.body);
}

QCoro::Task<QList<GitHubInstallation>> GitHubClient::fetchInstallations(QString accessToken, std::stop_token stop) const
{
    return fetchPages(*this, QStringLiteral("user/installations"), std::move(accessToken),
        &GitHubInstallationsResponse::installations, &GitHubInstallation::id, std::move(stop));
}

QCoro::Task<QList<GitHubRepository>> GitHubClient::fetchRepositories(
    qint64 installationID, QString accessToken, std::stop_token stop) const
{
    return fetchPages(*this, QStringLiteral("user/installations/%1/repositories").arg(installationID),
        std::move(accessToken), &GitHubRepositoriesResponse::repositories, &GitHubRepository::nodeID, std::move(stop));
}

QCoro::Task<DeploymentFetchResult> GitHubClient::fetchDeployments(
    QList<RepositoryRecord> repositories, QString accessToken, std::stop_token stop) const
{
    const GitHubClient client(*this);
    DeploymentFetchResult whole;
    if (repositories.isEmpty())
        co_return whole;
    whole.rateLimit = DeploymentRateLimit::none();
    const JSONParserReuse reuse;
    for (qsizetype first = 0; first < repositories.size(); first += kDeploymentBatchSize) {
        QStringList ids = nodeIDs(repositories.mid(first, kDeploymentBatchSize));
        const auto batch = co_await fetchBatch(client, std::move(ids), accessToken, stop);
        add(whole, batch);
        // GitHub would refuse the next batch, and may penalise the account for it.
        const bool isLast = first + kDeploymentBatchSize >= repositories.size();
        const DeploymentRateLimit &limit = batch.rateLimit;
        if (!isLast && limit.remaining < limit.cost && limit.resetAt > client.clock->now())
            throw PausedError(limit.resetAt);
    }
    co_return whole;
}

QCoro::Task<DeploymentFetchResult> GitHubClient::fetchDeploymentBatch(
    QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop) const
{
    const GitHubClient client(*this);
    const auto batch = co_await fetchBatch(client, std::move(repositoryNodeIDs), accessToken, stop);
    DeploymentFetchResult result;
    result.rateLimit = DeploymentRateLimit::none();
    add(result, batch);
    co_return result;
}

void GitHubClient::remember()
{
    known = std::make_shared<KnownDeployments>();
}

void GitHubClient::forgetAllBut(const QSet<QString> &repositoryNodeIDs) const
{
    if (known)
        known->retain(repositoryNodeIDs);
}

HTTPRequest GitHubClient::formRequest(const QUrl &url, const QMap<QString, QString> &values)
{
    QList<std::pair<QString, QString>> fields;
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        fields.append({value.key(), value.value()});
    HTTPRequest request;
    request.method = "POST";
    request.url = url;
    request.headers = {{"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}};
    request.body = encodedFields(fields);
    return request;
}

HTTPRequest GitHubClient::getRequest(
    const QString &path, const QList<std::pair<QString, QString>> &queryItems, const QString &accessToken) const
{
    QUrl url = appendingPath(apiURL, path);
    // The URL ends with an empty query if there are no items.
    const QByteArray query = encodedFields(queryItems);
    url.setQuery(query.isEmpty() ? QStringLiteral("") : QString::fromLatin1(query), QUrl::StrictMode);
    if (!url.isValid())
        throw GitHubClientError::invalidResponse();
    return authorizedRequest(*this, std::move(url), accessToken);
}

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

} // namespace velmora
