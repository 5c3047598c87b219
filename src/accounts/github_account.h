// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// A connected identity, as remembered between two runs.
struct GitHubAccount {
    qint64 id = 0; ///< GitHub's user id: the key of all data of the account
    QString login;
    std::optional<WebAddress> avatarURL;

    friend bool operator==(const GitHubAccount &, const GitHubAccount &) = default;
};

/// The state of an account, or of the connection in progress. Never stored.
enum class GitHubSessionStatus {
    Disconnected,
    RequestingCode,
    AwaitingAuthorization,
    Connected,
    Refreshing,
    ReconnectRequired,
};

/// The name of the case, "reconnectRequired" for instance.
[[nodiscard]] QString rawValue(GitHubSessionStatus status);

/// An account and its current status, for display.
struct GitHubAccountSession {
    GitHubAccount account;
    GitHubSessionStatus status = GitHubSessionStatus::Disconnected;

    [[nodiscard]] qint64 id() const { return account.id; }
    friend bool operator==(const GitHubAccountSession &, const GitHubAccountSession &) = default;
};

} // namespace velmora
