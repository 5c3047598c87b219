// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QString>

#include <optional>

namespace velmora
{

/// The account or organisation on which the App is installed.
struct GitHubInstallationAccount {
    qint64 id = 0;
    QString login;
    std::optional<WebAddress> avatarURL;
    QString type; ///< GitHub's word: "User", "Organization", …

    friend bool operator==(const GitHubInstallationAccount &, const GitHubInstallationAccount &) = default;
};

/// One installation of the App that a token can see.
struct GitHubInstallation {
    qint64 id = 0;
    GitHubInstallationAccount account;
    QString repositorySelection; ///< GitHub's word: "all" or "selected"
    /// The time when its owner suspended it, as GitHub's text; absent while it is active.
    std::optional<QString> suspendedAt = std::nullopt;

    /// Whether it grants no access until its owner reactivates it.
    [[nodiscard]] bool isSuspended() const { return suspendedAt.has_value(); }

    friend bool operator==(const GitHubInstallation &, const GitHubInstallation &) = default;
};

/// One repository that an installation grants.
struct GitHubRepository {
    qint64 databaseID = 0;
    QString nodeID; ///< the GraphQL identifier, opaque
    QString nameWithOwner;
    WebAddress url;
    bool isPrivate = false;

    friend bool operator==(const GitHubRepository &, const GitHubRepository &) = default;
};

} // namespace velmora
