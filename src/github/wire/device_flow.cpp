// SPDX-License-Identifier: MIT
#include "github/wire/device_flow.h"

#include "github/github_client_error.h"
#include "support/error_as.h"
#include "support/json.h"

#include <limits>

namespace velmora
{

namespace
{

constexpr int kMostIncorrectCodes = 2;
constexpr qint64 kSlowDown = 5; ///< in seconds

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
void requireNoErrorOfApp(const QString &error)
{
    if (error == QLatin1String("device_flow_disabled"))
        throw GitHubClientError::deviceFlowDisabled();
    // GitHub answers the start of a flow with 404 and "Not Found" if the App does not exist.
    if (error == QLatin1String("Not Found") || error == QLatin1String("incorrect_client_credentials"))
        throw GitHubClientError::unknownClient();
}

} // namespace

DeviceFlow::DeviceFlow(const DeviceAuthorization &authorization, Instant start)
    : m_start(start)
    , m_expiresIn(authorization.expiresIn)
    , m_interval(authorization.interval)
{
}

void DeviceFlow::requireUsableApp(const HTTPResponse &response)
{
    requireNoErrorOfApp(errorIn(response));
}

qint64 DeviceFlow::pauseBeforePoll(Instant now) const
{
    // Compares whole seconds, since a large lifetime from the network would overflow as microseconds.
    if (std::chrono::floor<std::chrono::seconds>(now - m_start).count() >= m_expiresIn)
        throw GitHubClientError::authorizationExpired();
    return pause();
}

qint64 DeviceFlow::pause() const
{
    return std::max(m_interval, m_pauseAfterTimeout);
}

void DeviceFlow::handle(const GitHubOAuthResponse &response)
{
    m_pauseAfterTimeout = 0;
    const QString error = response.error.value_or(QString());
    requireNoErrorOfApp(error);
    if (error == QLatin1String("authorization_pending"))
        return;
    if (error == QLatin1String("slow_down")) {
        m_interval = std::min(m_interval, std::numeric_limits<qint64>::max() - kSlowDown) + kSlowDown;
        return;
    }
    // GitHub sometimes reports this for a valid code right after the approval.
    if (error == QLatin1String("incorrect_device_code") && m_incorrectCodes++ < kMostIncorrectCodes)
        return;
    if (error == QLatin1String("access_denied"))
        throw GitHubClientError::authorizationDenied();
    if (error == QLatin1String("expired_token") || error == QLatin1String("token_expired"))
        throw GitHubClientError::authorizationExpired();
    throw GitHubClientError::invalidResponse();
}

void DeviceFlow::handle(const std::exception_ptr &failure)
{
    constexpr qint64 kShortest = 1;
    constexpr qint64 kLongest = 60;
    if (!isPassing(failure))
        std::rethrow_exception(failure);
    // Doubles the pause with every time-out until GitHub answers again. Limited, since the user is waiting.
    const auto *error = errorAs<TransportError>(failure);
    if (error && error->kind() == TransportError::Kind::TimedOut)
        m_pauseAfterTimeout = std::clamp(pause(), kShortest, kLongest / 2) * 2;
}

} // namespace velmora
