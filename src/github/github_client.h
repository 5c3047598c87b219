// SPDX-License-Identifier: MIT
#pragma once

#include "github/device_authorization.h"
#include "github/github_credential.h"
#include "github/github_installation.h"
#include "github/github_user.h"
#include "github/http_session.h"
#include "github/repository_record.h"
#include "model/deployment_fetch_result.h"
#include "support/clock.h"

#include <QMap>

#include <memory>

namespace velmora
{

/// Everything that Velmora asks of GitHub.
///
/// A value: copies share the session. It keeps no state, so operations may overlap, and a running one
/// outlives the client that started it. Each operation throws GitHubClientError, DeploymentClientError,
/// TransportError or DecodingError, and CancellationError once its stop is requested. Nothing is retried here but
/// the polls of a device flow.
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

    /// Starts the device flow. Without a client id throws invalidConfiguration and sends nothing. Throws unknownClient
    /// and deviceFlowDisabled when that is GitHub's reason to refuse.
    [[nodiscard]] QCoro::Task<DeviceAuthorization> beginDeviceAuthorization(std::stop_token stop = {}) const;

    /// Polls until the user has authorised, refused, or the code has expired. The first poll is one
    /// interval after the call. A poll without an answer (a lost connection, a time-out, a 5xx) is followed by the
    /// next one, after time-outs in a growing distance.
    [[nodiscard]] QCoro::Task<GitHubCredential> waitForDeviceAuthorization(
        DeviceAuthorization authorization, std::stop_token stop = {}) const;

    /// Trades the refresh token, which works only once, for a new credential. From then on the old
    /// access token is dead as well.
    [[nodiscard]] QCoro::Task<GitHubCredential> refresh(GitHubCredential credential, std::stop_token stop = {}) const;

    /// The identity behind the token.
    [[nodiscard]] QCoro::Task<GitHubUser> fetchUser(QString accessToken, std::stop_token stop = {}) const;

    /// All installations of the App that the token can see, in GitHub's order. Throws repeatedPage when a full page
    /// brings nothing new; so does the next one.
    [[nodiscard]] QCoro::Task<QList<GitHubInstallation>> fetchInstallations(
        QString accessToken, std::stop_token stop = {}) const;

    /// All repositories of one installation that the token can see, in GitHub's order.
    [[nodiscard]] QCoro::Task<QList<GitHubRepository>> fetchRepositories(
        qint64 installationID, QString accessToken, std::stop_token stop = {}) const;

    /// The newest deployments of the repositories, asked for in batches of 20, one after the other.
    /// One failed batch fails the whole fetch, and so does a rate limit that is used up before the last one
    /// (PausedError). No repository: no request.
    [[nodiscard]] QCoro::Task<DeploymentFetchResult> fetchDeployments(
        QList<RepositoryRecord> repositories, QString accessToken, std::stop_token stop = {}) const;

    /// One request for at most 20 repositories.
    [[nodiscard]] QCoro::Task<DeploymentFetchResult> fetchDeploymentBatch(
        QStringList repositoryNodeIDs, QString accessToken, std::stop_token stop = {}) const;

    /// The POST of a form, its fields in the order of their names.
    [[nodiscard]] static HTTPRequest formRequest(const QUrl &url, const QMap<QString, QString> &values);

    /// The authenticated GET of a REST path.
    [[nodiscard]] HTTPRequest getRequest(
        const QString &path, const QList<std::pair<QString, QString>> &queryItems, const QString &accessToken) const;

    /// Where the deployments are asked for.
    [[nodiscard]] QUrl endpointForDeployments() const;

    /// The POST of the deployments query.
    [[nodiscard]] HTTPRequest deploymentsRequest(
        const QStringList &repositoryNodeIDs, const QString &accessToken) const;

    /// The token endpoint's answer to the form. An OAuth error is an answer, not a failure.
    [[nodiscard]] QCoro::Task<GitHubOAuthResponse> requestToken(
        QMap<QString, QString> values, std::stop_token stop = {}) const;
};

} // namespace velmora
