// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"

#include "github/github_client_error.h"
#include "github/paused_error.h"

namespace velmora
{

DeploymentClientError DeploymentClientError::graphQL(QStringList messages, std::optional<RateLimitNotice> rateLimit)
{
    DeploymentClientError error(Case::GraphQL);
    error.m_messages = std::move(messages);
    error.m_rateLimit = rateLimit;
    return error;
}

QString DeploymentClientError::description() const
{
    if (m_case == Case::GraphQL)
        return cutText(m_messages.join(QLatin1Char('\n')));
    return QStringLiteral("GitHub returned invalid deployment data.");
}

std::optional<RateLimitNotice> rateLimitOf(const std::exception_ptr &failure)
{
    if (!failure)
        return std::nullopt;
    try {
        std::rethrow_exception(failure);
    } catch (const GitHubClientError &error) {
        return error.rateLimit();
    } catch (const DeploymentClientError &error) {
        return error.rateLimit();
    } catch (const PausedError &error) {
        return RateLimitNotice{error.until()};
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace velmora
