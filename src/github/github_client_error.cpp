// SPDX-License-Identifier: MIT
#include "github/github_client_error.h"

#include "support/error_as.h"

namespace velmora
{

GitHubClientError GitHubClientError::requestFailed(int statusCode, std::optional<RateLimitNotice> rateLimit)
{
    GitHubClientError error(Case::RequestFailed);
    error.m_statusCode = statusCode;
    error.m_rateLimit = rateLimit;
    return error;
}

GitHubClientError GitHubClientError::missingAccessToken(std::optional<QString> oauthError)
{
    GitHubClientError error(Case::MissingAccessToken);
    error.m_oauthError = std::move(oauthError);
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
    case Case::DeviceFlowDisabled:
        return QStringLiteral("The GitHub App does not allow the device flow. Switch “Enable Device Flow” on in the "
                              "settings of the App on GitHub, under Settings → Developer settings → GitHub Apps.");
    case Case::UnknownClient:
        return QStringLiteral("GitHub knows no App with this client ID. Set GITHUB_CLIENT_ID, in velmora.properties or "
                              "in the environment, to the client ID on the App’s page on GitHub; for GitHub "
                              "Enterprise, set VELMORA_GITHUB_HOST as well.");
    case Case::RepeatedPage:
        return QStringLiteral("GitHub sent the same page of a list again. A proxy in between may drop “page” from the "
                              "address.");
    }
    Q_UNREACHABLE();
}

bool isUnauthorized(const std::exception_ptr &failure)
{
    const auto *error = errorAs<GitHubClientError>(failure);
    return error && error->statusCode() == 401;
}

bool isPassing(const std::exception_ptr &failure)
{
    constexpr int kFirstServerError = 500;
    if (const auto *error = errorAs<TransportError>(failure))
        return error->kind() != TransportError::Kind::BodyTooLarge;
    const auto *error = errorAs<GitHubClientError>(failure);
    return error && error->statusCode() >= kFirstServerError;
}

bool isFinalRefusal(const std::exception_ptr &failure)
{
    const auto *error = errorAs<GitHubClientError>(failure);
    if (!error)
        return false;
    // GitHub's own code and the one of the OAuth standard. Other codes concern the App or the state of GitHub.
    const QString word = error->oauthError().value_or(QString());
    return error->errorCase() == GitHubClientError::Case::MissingRefreshToken
        || word == QLatin1String("bad_refresh_token") || word == QLatin1String("invalid_grant");
}

} // namespace velmora
