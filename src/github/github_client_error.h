// SPDX-License-Identifier: MIT
#pragma once

#include "github/rate_limit_notice.h"
#include "support/error.h"

#include <optional>

namespace velmora
{

/// GitHub answered, and the answer is no.
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
    };

    /// The HTTP status was not a success. `rateLimit` says that it was for asking too much.
    static GitHubClientError requestFailed(int statusCode, std::optional<RateLimitNotice> rateLimit = std::nullopt);
    static GitHubClientError invalidConfiguration() { return GitHubClientError(Case::InvalidConfiguration); }
    static GitHubClientError invalidResponse() { return GitHubClientError(Case::InvalidResponse); }
    static GitHubClientError authorizationDenied() { return GitHubClientError(Case::AuthorizationDenied); }
    static GitHubClientError authorizationExpired() { return GitHubClientError(Case::AuthorizationExpired); }
    static GitHubClientError missingAccessToken() { return GitHubClientError(Case::MissingAccessToken); }
    static GitHubClientError missingRefreshToken() { return GitHubClientError(Case::MissingRefreshToken); }

    [[nodiscard]] Case errorCase() const { return m_case; }
    /// The HTTP status of RequestFailed, else 0.
    [[nodiscard]] int statusCode() const { return m_statusCode; }
    /// Travels beside the case: not part of equality or description.
    [[nodiscard]] const std::optional<RateLimitNotice> &rateLimit() const { return m_rateLimit; }
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
};

} // namespace velmora
