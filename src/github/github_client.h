// SPDX-License-Identifier: MIT
#pragma once

#include "github/device_authorization.h"
#include "github/github_credential.h"
#include "github/github_installation.h"
#include "github/github_user.h"
#include "github/repository_record.h"
#include "http/http_session.h"
#include "model/deployment_fetch_result.h"
#include "support/clock.h"

#include <QMap>
#include <QSet>

#include <memory>

namespace velmora
{

/// The most repositories that one request for deployments asks for.
inline constexpr qsizetype kDeploymentBatchSize = 20;

class KnownDeployments;
struct GitHubOAuthResponse;

/// All requests that Velmora sends to GitHub.
///
/// A value: copies share the session. It keeps no state but what remember() asks for, and no result depends on that, so
/// operations may overlap, and an operation may outlive its client. Each operation throws GitHubClientError,
/// DeploymentClientError, TransportError or DecodingError, and CancellationError once its stop is requested. Only the
/// polls of a device flow are repeated.
class GitHubClient
{
public:
    QString clientID; ///< of the GitHub App; may be empty
    std::shared_ptr<HTTPSession> session;
    QUrl apiURL; ///< base of the REST endpoints
    QUrl loginURL; ///< base of the OAuth endpoints
    QUrl graphqlURL; ///< the GraphQL endpoint; empty: `apiURL` with "graphql" appended
    QByteArray apiVersion = "2026-03-10";
    Clock *clock = nullptr; ///< not owned; outlives every operation
    std::shared_ptr<KnownDeployments> known; ///< null, or set by remember()

    /// From now on this client and its copies keep the deployments that they fetch, and decode again only the
    /// repositories of which GitHub sends other bytes. The deployments of all others share the same records again. All
    /// on one thread.
    void remember();

    /// Forgets the deployments of all other repositories.
    void forgetAllBut(const QSet<QString> &repositoryNodeIDs) const;

    /// Starts the device flow. Throws invalidConfiguration without a request if the client id is empty, and
    /// unknownClient or deviceFlowDisabled if GitHub refuses for that reason.
    [[nodiscard]] QCoro::Task<DeviceAuthorization> beginDeviceAuthorization(std::stop_token stop = {}) const;

    /// Polls until the user has authorised or refused, or the code has expired. The first poll is one interval after
    /// the call. A poll that fails for a passing reason (a lost connection, a time-out, a 5xx) is repeated, after
    /// time-outs with growing pauses.
    [[nodiscard]] QCoro::Task<GitHubCredential> waitForDeviceAuthorization(
        DeviceAuthorization authorization, std::stop_token stop = {}) const;

    /// Exchanges the refresh token, which works only once, for a new credential. GitHub then revokes the old access
    /// token too.
    [[nodiscard]] QCoro::Task<GitHubCredential> refresh(GitHubCredential credential, std::stop_token stop = {}) const;

    /// The identity behind the token.
    [[nodiscard]] QCoro::Task<GitHubUser> fetchUser(QString accessToken, std::stop_token stop = {}) const;

    /// All installations of the App that the token can see, in GitHub's order. Throws repeatedPage if a full page has
    /// no new item.
    [[nodiscard]] QCoro::Task<QList<GitHubInstallation>> fetchInstallations(
        QString accessToken, std::stop_token stop = {}) const;

    /// All repositories of one installation that the token can see, in GitHub's order. Throws repeatedPage likewise.
    [[nodiscard]] QCoro::Task<QList<GitHubRepository>> fetchRepositories(
        qint64 installationID, QString accessToken, std::stop_token stop = {}) const;

    /// The newest deployments of the repositories, fetched in batches of 20, one after the other. One failed batch
    /// fails the whole fetch. So does a rate limit that is used up before the last batch (PausedError). Without
    /// repositories sends nothing.
    [[nodiscard]] QCoro::Task<DeploymentFetchResult> fetchDeployments(
        QList<RepositoryRecord> repositories, QString accessToken, std::stop_token stop = {}) const;

    /// One request for at most 20 repositories.
    [[nodiscard]] QCoro::Task<DeploymentFetchResult> fetchDeploymentBatch(
        QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop = {}) const;

    /// The POST of a form, with fields sorted by name.
    [[nodiscard]] static HTTPRequest formRequest(const QUrl &url, const QMap<QString, QString> &values);

    /// The authenticated GET of a REST path.
    [[nodiscard]] HTTPRequest getRequest(
        const QString &path, const QList<std::pair<QString, QString>> &queryItems, const QString &accessToken) const;

    /// The GraphQL endpoint of fetchDeployments().
    [[nodiscard]] QUrl endpointForDeployments() const;

    /// The POST of the deployments query.
    [[nodiscard]] HTTPRequest deploymentsRequest(
        const QStringList &repositoryNodeIDs, const QString &accessToken) const;

    /// The token endpoint's response to the form. An OAuth error is a result, not an exception.
    [[nodiscard]] QCoro::Task<GitHubOAuthResponse> requestToken(
        QMap<QString, QString> values, std::stop_token stop = {}) const;
};

} // namespace velmora
