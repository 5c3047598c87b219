// SPDX-License-Identifier: MIT
#pragma once

#include "github/rate_limit_notice.h"
#include "support/error.h"

#include <optional>

namespace velmora
{

/// GitHub refused the request or its response cannot be used.
class GitHubClientError final : public Error
{
public:
    enum class Case {
        RequestFailed,
        InvalidConfiguration,
        InvalidResponse,
        AuthorizationDenied,
        AuthorizationExpired,
        MissingAccessToken,
        MissingRefreshToken,
        DeviceFlowDisabled,
        UnknownClient,
        RepeatedPage,
    };

    /// The HTTP status was not a success. `rateLimit` is set if the cause was a rate limit.
    static GitHubClientError requestFailed(int statusCode, std::optional<RateLimitNotice> rateLimit = std::nullopt);
    static GitHubClientError invalidConfiguration() { return GitHubClientError(Case::InvalidConfiguration); }
    static GitHubClientError invalidResponse() { return GitHubClientError(Case::InvalidResponse); }
    static GitHubClientError authorizationDenied() { return GitHubClientError(Case::AuthorizationDenied); }
    static GitHubClientError authorizationExpired() { return GitHubClientError(Case::AuthorizationExpired); }
    /// `oauthError` is GitHub's code for the reason, "bad_refresh_token" for instance.
    static GitHubClientError missingAccessToken(std::optional<QString> oauthError = std::nullopt);
    static GitHubClientError missingRefreshToken() { return GitHubClientError(Case::MissingRefreshToken); }
    /// The GitHub App does not allow the device flow.
    static GitHubClientError deviceFlowDisabled() { return GitHubClientError(Case::DeviceFlowDisabled); }
    /// GitHub knows no App with this client id.
    static GitHubClientError unknownClient() { return GitHubClientError(Case::UnknownClient); }

    /// A full page of a list held only items of the pages before it.
    static GitHubClientError repeatedPage() { return GitHubClientError(Case::RepeatedPage); }

    [[nodiscard]] Case errorCase() const { return m_case; }
    /// The HTTP status of RequestFailed, else 0.
    [[nodiscard]] int statusCode() const { return m_statusCode; }
    /// Additional data: not part of equality or description.
    [[nodiscard]] const std::optional<RateLimitNotice> &rateLimit() const { return m_rateLimit; }
    /// The OAuth error code of MissingAccessToken, if GitHub sent one. Not part of equality or description; never
    /// shown.
    [[nodiscard]] const std::optional<QString> &oauthError() const { return m_oauthError; }
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::GitHubClientError"; }

    friend bool operator==(const GitHubClientError &left, const GitHubClientError &right)
    {
        return left.m_case == right.m_case && left.m_statusCode == right.m_statusCode;
    }

private:
    explicit GitHubClientError(Case errorCase)
        : m_case(errorCase)
    {
    }

    Case m_case;
    int m_statusCode = 0;
    std::optional<RateLimitNotice> m_rateLimit;
    std::optional<QString> m_oauthError;
};

/// Whether GitHub refused the access token (HTTP 401).
[[nodiscard]] bool isUnauthorized(const std::exception_ptr &failure);

/// Whether the same request may succeed a little later: the connection was lost or timed out, or GitHub reported an
/// internal error.
[[nodiscard]] bool isPassing(const std::exception_ptr &failure);

/// Whether the failure of a renewal is final, so that no later attempt with the same refresh token can succeed.
[[nodiscard]] bool isFinalRefusal(const std::exception_ptr &failure);

} // namespace velmora
