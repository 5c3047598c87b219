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

/// The error code in the response, empty if there is none.
QString errorIn(const HTTPResponse &response)
{
    try {
        return decodeJSON<GitHubOAuthResponse>(response.body).error.value_or(QString());
    } catch (const DecodingError &) {
        return QString();
    }
}

/// Throws if the App cannot be used to connect, whatever the user does.
void requireUsableApp(const QString &error)
{
    if (error == QLatin1String("device_flow_disabled"))
        throw GitHubClientError::deviceFlowDisabled();
    // GitHub answers the start of a flow with 404 and "Not Found" if the App does not exist.
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
    // GitHub uses up the refresh token or device code even if its response gets lost.
    request.isUnrepeatable = true;
    HTTPResponse response = co_await client.session->send(std::move(request), stop);
    requireSuccess(response, client.clock);
    auto tokens = decodeJSON<GitHubOAuthResponse>(response.body);
    erase(response.body);
    co_return tokens;
}

void throwIfExpired(const Clock *clock, Instant start, qint64 expiresIn)
{
    // Compares whole seconds, since a large `expiresIn` from the network would overflow as microseconds.
    if (floor<seconds>(clock->now() - start).count() >= expiresIn)
        throw GitHubClientError::authorizationExpired();
}

/// Sleeps in pieces of a day, since timers limit the duration.
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

/// Tells how long to wait before the next poll of a device flow, and when to give up.
class PollingPace
{
public:
    explicit PollingPace(qint64 interval)
        : m_interval(interval)
    {
    }

    /// In seconds.
    [[nodiscard]] qint64 pause() const { return std::max(m_interval, m_pauseAfterTimeout); }

    /// Call it with each response without a token. Throws if the response ends the flow.
    void heed(const GitHubOAuthResponse &response)
    {
        m_pauseAfterTimeout = 0;
        const QString error = response.error.value_or(QString());
        requireUsableApp(error);
        if (error == QLatin1String("authorization_pending"))
            return;
        if (error == QLatin1String("slow_down"))
            return slowDown();
        // GitHub sometimes reports this for a valid code right after the approval.
        if (error == QLatin1String("incorrect_device_code") && m_incorrectCodes++ < kMostIncorrectCodes)
            return;
        if (error == QLatin1String("access_denied"))
            throw GitHubClientError::authorizationDenied();
        if (error == QLatin1String("expired_token") || error == QLatin1String("token_expired"))
            throw GitHubClientError::authorizationExpired();
        throw GitHubClientError::invalidResponse();
    }

    /// Call it with each failed poll. Rethrows the failure if polling again is useless.
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

    /// Doubles the pause with every time-out until GitHub answers again. Limited, since the user is waiting.
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
