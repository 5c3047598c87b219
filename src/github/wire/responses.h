// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_installation.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// A response of the token endpoint, success or refusal. Every field is optional on the wire.
struct GitHubOAuthResponse {
    std::optional<QString> accessToken;
    std::optional<qint64> expiresIn; ///< seconds
    std::optional<QString> refreshToken;
    std::optional<qint64> refreshTokenExpiresIn; ///< seconds
    std::optional<QString> error;
    std::optional<QString> errorDescription;

    friend bool operator==(const GitHubOAuthResponse &, const GitHubOAuthResponse &) = default;
};

/// One page of installations.
struct GitHubInstallationsResponse {
    QList<GitHubInstallation> installations;

    friend bool operator==(const GitHubInstallationsResponse &, const GitHubInstallationsResponse &) = default;
};

/// One page of repositories.
struct GitHubRepositoriesResponse {
    QList<GitHubRepository> repositories;

    friend bool operator==(const GitHubRepositoriesResponse &, const GitHubRepositoriesResponse &) = default;
};

} // namespace velmora
