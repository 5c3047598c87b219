// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"

#include "github/github_client_error.h"
#include "github/paused_error.h"
#include "support/error_as.h"

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
    if (const auto *error = errorAs<GitHubClientError>(failure))
        return error->rateLimit();
    if (const auto *error = errorAs<DeploymentClientError>(failure))
        return error->rateLimit();
    if (const auto *error = errorAs<PausedError>(failure))
        return RateLimitNotice{error->until()};
    return std::nullopt;
}

} // namespace velmora
