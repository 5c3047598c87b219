// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QString>

#include <optional>

namespace velmora
{

struct GitHubOAuthResponse;

/// The tokens of one identity. All of it is secret: kept in the credential store, never logged.
struct GitHubCredential {
    QString accessToken;
    std::optional<Instant> expiresAt; ///< absent: it does not expire by time
    std::optional<QString> refreshToken;
    std::optional<Instant> refreshTokenExpiresAt;

    /// The credential granted by a token response that was received at `now`. Takes nothing over from an earlier
    /// credential. Throws GitHubClientError::missingAccessToken if the response has no access token.
    static GitHubCredential fromResponse(const GitHubOAuthResponse &response, Instant now);

    friend bool operator==(const GitHubCredential &, const GitHubCredential &) = default;
};

} // namespace velmora
