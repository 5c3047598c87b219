// SPDX-License-Identifier: MIT
#include "github/github_client.h"
#include "github/github_client_requests.h"
#include "github/instant_arithmetic.h"
#include "support/json.h"

namespace velmora
{

using namespace std::chrono;

namespace
{

using Fields = QMap<QString, QString>;

QCoro::Task<DeviceAuthorization> beginOf(GitHubClient client, std::stop_token stop)
{
    if (client.clientID.isEmpty())
        throw GitHubClientError::invalidConfiguration();
    Fields values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    const QUrl url = appendingPath(client.loginURL, QStringLiteral("device/code"));
    HTTPRequest request = GitHubClient::formRequest(url, values);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    co_return decodeJSON<DeviceAuthorization>(response.body);
}

QCoro::Task<GitHubOAuthResponse> requestTokenOf(GitHubClient client, Fields values, std::stop_token stop)
{
    const QUrl url = appendingPath(client.loginURL, QStringLiteral("oauth/access_token"));
    HTTPRequest request = GitHubClient::formRequest(url, values);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    co_return decodeJSON<GitHubOAuthResponse>(response.body);
}

void throwIfExpired(const Clock *clock, Instant start, qint64 expiresIn)
{
    // Compared in whole seconds, since any number may have come from the network.
    if (floor<seconds>(clock->now() - start).count() >= expiresIn)
        throw GitHubClientError::authorizationExpired();
}

/// Sleeps in pieces of a day, which no timer finds too long.
QCoro::Task<> sleepSeconds(Clock *clock, qint64 duration, std::stop_token stop)
{
    constexpr qint64 kPiece = 86'400;
    qint64 left = std::max<qint64>(duration, 0);
    do {
        const seconds piece(std::min(left, kPiece));
        co_await clock->sleep(piece, stop);
        left -= piece.count();
    } while (left > 0);
}

/// What is to be done after an answer without a token: returns the interval of the next polls, or throws.
qint64 intervalAfter(const GitHubOAuthResponse &response, qint64 interval)
{
    constexpr qint64 kSlowDown = 5;
    const QString error = response.error.value_or(QString());
    if (error == QLatin1String("authorization_pending"))
        return interval;
    if (error == QLatin1String("slow_down")) {
        const bool fits = interval <= std::numeric_limits<qint64>::max() - kSlowDown;
        return fits ? interval + kSlowDown : std::numeric_limits<qint64>::max();
    }
    if (error == QLatin1String("access_denied"))
        throw GitHubClientError::authorizationDenied();
    if (error == QLatin1String("expired_token"))
        throw GitHubClientError::authorizationExpired();
    throw GitHubClientError::invalidResponse();
}

QCoro::Task<GitHubCredential> waitOf(GitHubClient client, DeviceAuthorization authorization, std::stop_token stop)
{
    const Instant start = client.clock->now();
    qint64 interval = authorization.interval;
    Fields values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    values.insert(QStringLiteral("device_code"), authorization.deviceCode);
    values.insert(QStringLiteral("grant_type"), QStringLiteral("urn:ietf:params:oauth:grant-type:device_code"));
    while (true) {
        throwIfExpired(client.clock, start, authorization.expiresIn);
        co_await sleepSeconds(client.clock, interval, stop);
        const GitHubOAuthResponse response = co_await requestTokenOf(client, values, stop);
        if (response.accessToken)
            co_return GitHubCredential::fromResponse(response, client.clock->now());
        interval = intervalAfter(response, interval);
    }
}

QCoro::Task<GitHubCredential> refreshOf(GitHubClient client, GitHubCredential credential, std::stop_token stop)
{
    if (!credential.refreshToken)
        throw GitHubClientError::missingRefreshToken();
    Fields values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    values.insert(QStringLiteral("grant_type"), QStringLiteral("refresh_token"));
    values.insert(QStringLiteral("refresh_token"), *credential.refreshToken);
    const GitHubOAuthResponse response = co_await requestTokenOf(client, std::move(values), stop);
    co_return GitHubCredential::fromResponse(response, client.clock->now());
}

} // namespace

GitHubCredential GitHubCredential::fromResponse(const GitHubOAuthResponse &response, Instant now)
{
    if (!response.accessToken)
        throw GitHubClientError::missingAccessToken();
    GitHubCredential credential;
    credential.accessToken = *response.accessToken;
    if (response.expiresIn)
        credential.expiresAt = addingSeconds(now, *response.expiresIn);
    credential.refreshToken = response.refreshToken;
    if (response.refreshTokenExpiresIn)
        credential.refreshTokenExpiresAt = addingSeconds(now, *response.refreshTokenExpiresIn);
    return credential;
}

QCoro::Task<DeviceAuthorization> GitHubClient::beginDeviceAuthorization(std::stop_token stop) const
{
    return beginOf(*this, std::move(stop));
}

QCoro::Task<GitHubCredential> GitHubClient::waitForDeviceAuthorization(
    DeviceAuthorization authorization, std::stop_token stop) const
{
    return waitOf(*this, std::move(authorization), std::move(stop));
}

QCoro::Task<GitHubCredential> GitHubClient::refresh(GitHubCredential credential, std::stop_token stop) const
{
    return refreshOf(*this, std::move(credential), std::move(stop));
}

QCoro::Task<GitHubOAuthResponse> GitHubClient::requestToken(QMap<QString, QString> values, std::stop_token stop) const
{
    return requestTokenOf(*this, std::move(values), std::move(stop));
}

} // namespace velmora
