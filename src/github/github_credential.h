// SPDX-License-Identifier: MIT
#pragma once

#include "github/device_authorization.h"
#include "support/instant.h"

#include <QString>

#include <optional>

namespace velmora
{

/// The tokens of one identity. A secret as a whole: kept in the credential store, never logged.
struct GitHubCredential {
    QString accessToken;
    std::optional<Instant> expiresAt; ///< absent: does not expire by time
    std::optional<QString> refreshToken;
    std::optional<Instant> refreshTokenExpiresAt;

    /// The credential that a token response grants, received at `now`. Nothing of an earlier credential
    /// lives on. Throws GitHubClientError::missingAccessToken when the response grants none.
    static GitHubCredential fromResponse(const GitHubOAuthResponse &response, Instant now);

    friend bool operator==(const GitHubCredential &, const GitHubCredential &) = default;
};

} // namespace velmora
