// SPDX-License-Identifier: MIT
#include "github/github_client_error.h"

namespace velmora
{

GitHubClientError GitHubClientError::requestFailed(int statusCode, std::optional<RateLimitNotice> rateLimit)
{
    GitHubClientError error(Case::RequestFailed);
    error.m_statusCode = statusCode;
    error.m_rateLimit = rateLimit;
    return error;
}

QString GitHubClientError::description() const
{
    switch (m_case) {
    case Case::RequestFailed:
        return QStringLiteral("GitHub returned HTTP %1.").arg(m_statusCode);
    case Case::InvalidConfiguration:
        return QStringLiteral(u"Velmora\u2019s GitHub App client ID is missing.");
    case Case::InvalidResponse:
        return QStringLiteral("GitHub returned an invalid response.");
    case Case::AuthorizationDenied:
        return QStringLiteral("GitHub authorization was cancelled.");
    case Case::AuthorizationExpired:
        return QStringLiteral("The GitHub authorization code expired.");
    case Case::MissingAccessToken:
        return QStringLiteral("GitHub did not return an access token.");
    case Case::MissingRefreshToken:
        return QStringLiteral("This GitHub account needs to be connected again.");
    }
    Q_UNREACHABLE();
}

} // namespace velmora
