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

// The records that the terminal lists as text and as JSON. The comments name the keys of the JSON objects.

/// A connected identity.
struct ListedAccount {
    qint64 id = 0; ///< "id"
    QString login; ///< "login"
    QString status; ///< "status": rawValue() of a GitHubSessionStatus
    std::optional<WebAddress> avatarURL; ///< "avatarURL"
    std::optional<QString> advice; ///< "advice": what the user has to do about the account, if anything

    friend bool operator==(const ListedAccount &, const ListedAccount &) = default;
};

/// An installation as one identity sees it.
struct ListedInstallation {
    QString key; ///< "key"
    QString identity; ///< "identity": the login that sees the installation
    QString account; ///< "account": the login of the account or organisation
    QString type; ///< "type"
    QString repositorySelection; ///< "repositorySelection"
    bool isEnabled = true; ///< "enabled"
    bool isSuspended = false; ///< "suspended": by its owner on GitHub; it then grants nothing

    friend bool operator==(const ListedInstallation &, const ListedInstallation &) = default;
};

/// A repository that an installation grants.
struct ListedRepository {
    QString id; ///< "id": the node identifier
    QString name; ///< "name": owner and name
    WebAddress url; ///< "url"
    bool isPrivate = false; ///< "private"
    QString installation; ///< "installation": its key
    QString account; ///< "account": the login of the account with the installation
    bool isIncluded = true; ///< "included": whether the user lets Velmora monitor it
    bool isMonitored = true; ///< "monitored": included, and its installation is enabled

    friend bool operator==(const ListedRepository &, const ListedRepository &) = default;
};

[[nodiscard]] QList<ListedAccount> listedAccounts(const QList<GitHubAccountSession> &sessions);
[[nodiscard]] QList<ListedInstallation> listedInstallations(
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions);
/// `monitored` holds the node ids of the monitored repositories.
[[nodiscard]] QList<ListedRepository> listedRepositories(
    const QList<RepositoryRecord> &repositories, const QSet<QString> &monitored);

// encodeJSON() of support/json.h encodes lists of these records.

} // namespace velmora
