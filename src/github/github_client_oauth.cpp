// SPDX-License-Identifier: MIT
#include "github/github_client.h"
#include "github/github_client_requests.h"
#include "github/instant_arithmetic.h"
#include "support/erased.h"
#include "support/error.h"
#include "support/json.h"

#include <algorithm>
#include <limits>

namespace velmora
{

using namespace std::chrono;

namespace
{

using Fields = QMap<QString, QString>;

/// The reason that GitHub gives with a refusal; empty when it gives none.
QString errorIn(const HTTPResponse &response)
{
    try {
        return decodeJSON<GitHubOAuthResponse>(response.body).error.value_or(QString());
    } catch (const DecodingError &) {
        return QString();
    }
}

/// Throws for an App that cannot be connected with, whatever its user does.
void requireUsableApp(const QString &error)
{
    if (error == QLatin1String("device_flow_disabled"))
        throw GitHubClientError::deviceFlowDisabled();
    // The first comes with a 404, for want of an App, when a flow is begun.
    if (error == QLatin1String("Not Found") || error == QLatin1String("incorrect_client_credentials"))
        throw GitHubClientError::unknownClient();
}

QCoro::Task<DeviceAuthorization> beginOf(GitHubClient client, std::stop_token stop)
{
    if (client.clientID.isEmpty())
        throw GitHubClientError::invalidConfiguration();
    Fields values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    const QUrl url = appendingPath(client.loginURL, QStringLiteral("device/code"));
    HTTPRequest request = GitHubClient::formRequest(url, values);
    const HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireUsableApp(errorIn(response));
    requireSuccess(response, client.clock);
    co_return decodeJSON<DeviceAuthorization>(response.body);
}

QCoro::Task<GitHubOAuthResponse> requestTokenOf(GitHubClient client, Fields values, std::stop_token stop)
{
    const QUrl url = appendingPath(client.loginURL, QStringLiteral("oauth/access_token"));
    HTTPRequest request = GitHubClient::formRequest(url, values);
    // A refresh token and a device code are taken when the answer is made, whether or not it arrives.
    request.isUnrepeatable = true;
    HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    auto tokens = decodeJSON<GitHubOAuthResponse>(response.body);
    erase(response.body);
    co_return tokens;
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

bool isTimeOut(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const TransportError &error) {
        return error.kind() == TransportError::Kind::TimedOut;
    } catch (...) {
        return false;
    }
}

/// How long to wait before the next poll of a device flow, and whether there is one.
class PollingPace
{
public:
    explicit PollingPace(qint64 interval)
        : m_interval(interval)
    {
    }

    /// In seconds.
    [[nodiscard]] qint64 pause() const { return std::max(m_interval, m_pauseAfterTimeout); }

    /// Throws when the answer, which has no token, ends the flow.
    void heed(const GitHubOAuthResponse &response)
    {
        m_pauseAfterTimeout = 0;
        const QString error = response.error.value_or(QString());
        requireUsableApp(error);
        if (error == QLatin1String("authorization_pending"))
            return;
        if (error == QLatin1String("slow_down"))
            return slowDown();
        // Right after the approval, GitHub says so now and then of a code that is good.
        if (error == QLatin1String("incorrect_device_code") && m_incorrectCodes++ < kMostIncorrectCodes)
            return;
        if (error == QLatin1String("access_denied"))
            throw GitHubClientError::authorizationDenied();
        if (error == QLatin1String("expired_token") || error == QLatin1String("token_expired"))
            throw GitHubClientError::authorizationExpired();
        throw GitHubClientError::invalidResponse();
    }

    /// Rethrows a failure after which polling is of no use.
    void heed(const std::exception_ptr &failure)
    {
        if (!isPassing(failure))
            std::rethrow_exception(failure);
        if (isTimeOut(failure))
            backOff();
    }

private:
    static constexpr int kMostIncorrectCodes = 2;

    void slowDown()
    {
        constexpr qint64 kSlowDown = 5;
        const bool fits = m_interval <= std::numeric_limits<qint64>::max() - kSlowDown;
        m_interval = fits ? m_interval + kSlowDown : std::numeric_limits<qint64>::max();
    }

    /// Twice as long with every time-out, until GitHub answers again; yet soon enough for the user who waits.
    void backOff()
    {
        constexpr qint64 kShortest = 1;
        constexpr qint64 kLongest = 60;
        m_pauseAfterTimeout = std::clamp(pause(), kShortest, kLongest / 2) * 2;
    }

    qint64 m_interval;
    qint64 m_pauseAfterTimeout = 0;
    int m_incorrectCodes = 0;
};

QCoro::Task<GitHubCredential> waitOf(GitHubClient client, DeviceAuthorization authorization, std::stop_token stop)
{
    const Instant start = client.clock->now();
    PollingPace pace(authorization.interval);
    Fields values;
    values.insert(QStringLiteral("client_id"), client.clientID);
    values.insert(QStringLiteral("device_code"), authorization.deviceCode);
    values.insert(QStringLiteral("grant_type"), QStringLiteral("urn:ietf:params:oauth:grant-type:device_code"));
    while (true) {
        throwIfExpired(client.clock, start, authorization.expiresIn);
        co_await sleepSeconds(client.clock, pace.pause(), stop);
        std::exception_ptr failure;
        GitHubOAuthResponse response;
        try {
            response = co_await requestTokenOf(client, values, stop);
        } catch (...) {
            failure = std::current_exception();
        }
        if (response.accessToken)
            co_return GitHubCredential::fromResponse(response, client.clock->now());
        if (failure)
            pace.heed(failure);
        else
            pace.heed(response);
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
        throw GitHubClientError::missingAccessToken(response.error);
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
