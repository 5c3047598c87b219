// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QByteArray>
#include <QList>
#include <QSet>

namespace velmora
{

// The lists of the commands for other programs: an array on one line, without the line break.

/// "id", "login", "status" and, when there is one, "avatarURL" of each account.
[[nodiscard]] QByteArray accountsJSON(const QList<GitHubAccountSession> &sessions);

/// "key", "identity" (the login through which it is seen), "account", "type", "repositorySelection" and
/// "enabled" of each installation.
[[nodiscard]] QByteArray installationsJSON(
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions);

/// "id", "name", "url", "private", "installation" (its key), "account", "included" and "monitored" of
/// each repository. `monitored` holds the node ids of those that are watched.
[[nodiscard]] QByteArray repositoriesJSON(const QList<RepositoryRecord> &repositories, const QSet<QString> &monitored);

/// The login of the session with the account id; the id in decimal when there is none.
[[nodiscard]] QString loginOf(qint64 identityID, const QList<GitHubAccountSession> &sessions);

} // namespace velmora
