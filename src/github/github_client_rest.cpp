// SPDX-License-Identifier: MIT
#include "github/github_client.h"
#include "github/github_client_requests.h"
#include "support/json.h"

#include <QSet>

namespace velmora
{

namespace
{

constexpr qsizetype kPageSize = 100;

HTTPRequest authorizedRequest(const GitHubClient &client, QUrl url, const QString &accessToken)
{
    HTTPRequest request;
    request.url = std::move(url);
    request.headers = {{"Authorization", bearer(accessToken)}, {"Accept", "application/vnd.github+json"},
        {"X-GitHub-Api-Version", client.apiVersion}};
    return request;
}

QList<GitHubInstallation> itemsOf(GitHubInstallationsResponse page)
{
    return std::move(page.installations);
}

QList<GitHubRepository> itemsOf(GitHubRepositoriesResponse page)
{
    return std::move(page.repositories);
}

HTTPRequest pageRequest(const GitHubClient &client, const QString &path, int page, const QString &accessToken)
{
    return client.getRequest(path,
        {{QStringLiteral("per_page"), QString::number(kPageSize)}, {QStringLiteral("page"), QString::number(page)}},
        accessToken);
}

qint64 idOf(const GitHubInstallation &installation)
{
    return installation.id;
}

QString idOf(const GitHubRepository &repository)
{
    return repository.nodeID;
}

/// All items of an endpoint, page by page until a page is not full. Drops duplicates: an item moves to the next page
/// when a new one is inserted before it meanwhile.
template <typename Page, typename Item>
QCoro::Task<QList<Item>> fetchPages(GitHubClient client, QString path, QString accessToken, std::stop_token stop)
{
    QList<Item> items;
    QSet<decltype(idOf(std::declval<Item>()))> ids;
    qsizetype found = kPageSize;
    for (int page = 1; found == kPageSize; ++page) {
        HTTPRequest request = pageRequest(client, path, page, accessToken);
        const HTTPResponse response = co_await client.session->send(std::move(request), stop);
        requireSuccess(response, client.clock);
        QList<Item> more = itemsOf(decodeJSON<Page>(response.body));
        found = more.size();
        more.removeIf([&ids](const Item &item) {
            const bool isKnown = ids.contains(idOf(item));
            ids.insert(idOf(item));
            return isKnown;
        });
        // A server that ignores the page number would keep this loop running for ever.
        if (found == kPageSize && more.isEmpty())
            throw GitHubClientError::repeatedPage();
        items.append(std::move(more));
    }
    co_return items;
}

QCoro::Task<GitHubUser> fetchUserOf(GitHubClient client, QString accessToken, std::stop_token stop)
{
    HTTPRequest request = authorizedRequest(client, appendingPath(client.apiURL, QStringLiteral("user")), accessToken);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    co_return decodeJSON<GitHubUser>(response.body);
}

} // namespace

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

QCoro::Task<GitHubUser> GitHubClient::fetchUser(QString accessToken, std::stop_token stop) const
{
    return fetchUserOf(*this, std::move(accessToken), std::move(stop));
}

QCoro::Task<QList<GitHubInstallation>> GitHubClient::fetchInstallations(QString accessToken, std::stop_token stop) const
{
    return fetchPages<GitHubInstallationsResponse, GitHubInstallation>(
        *this, QStringLiteral("user/installations"), std::move(accessToken), std::move(stop));
}

QCoro::Task<QList<GitHubRepository>> GitHubClient::fetchRepositories(
    qint64 installationID, QString accessToken, std::stop_token stop) const
{
    return fetchPages<GitHubRepositoriesResponse, GitHubRepository>(*this,
        QStringLiteral("user/installations/%1/repositories").arg(installationID), std::move(accessToken),
        std::move(stop));
}

} // namespace velmora
