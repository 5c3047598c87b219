// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// A connected identity, as it is remembered between two runs.
struct GitHubAccount {
    qint64 id = 0; ///< GitHub's user id: the key of everything that belongs to an account
    QString login;
    std::optional<WebAddress> avatarURL;

    friend bool operator==(const GitHubAccount &, const GitHubAccount &) = default;
};

/// How an account, or the connection in progress, stands. Never stored.
enum class GitHubSessionStatus {
    Disconnected,
    RequestingCode,
    AwaitingAuthorization,
    Connected,
    Refreshing,
    ReconnectRequired,
};

/// The case's name, "reconnectRequired" for instance.
[[nodiscard]] QString rawValue(GitHubSessionStatus status);

/// What is shown of one account.
struct GitHubAccountSession {
    GitHubAccount account;
    GitHubSessionStatus status = GitHubSessionStatus::Disconnected;

    [[nodiscard]] qint64 id() const { return account.id; }
    friend bool operator==(const GitHubAccountSession &, const GitHubAccountSession &) = default;
};

} // namespace velmora
