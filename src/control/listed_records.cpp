// SPDX-License-Identifier: MIT
#include "control/listed_records.h"

#include "control/listed_records_coding.h"

namespace velmora
{

namespace
{

/// The login of the account, or its id in decimal if the account has been removed.
QString loginOf(qint64 identityID, const QList<GitHubAccountSession> &sessions)
{
    const auto found = std::ranges::find(sessions, identityID, &GitHubAccountSession::id);
    return found == sessions.end() ? QString::number(identityID) : found->account.login;
}

} // namespace

template QByteArray encodeJSON<QList<ListedAccount>>(const QList<ListedAccount> &);
template QByteArray encodeJSON<QList<ListedInstallation>>(const QList<ListedInstallation> &);
template QByteArray encodeJSON<QList<ListedRepository>>(const QList<ListedRepository> &);

QList<ListedAccount> listedAccounts(const QList<GitHubAccountSession> &sessions)
{
    QList<ListedAccount> listed;
    for (const auto &[account, status] : sessions)
        listed.append({account.id, account.login, rawValue(status), account.avatarURL, std::nullopt});
    return listed;
}

QList<ListedInstallation> listedInstallations(
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions)
{
    QList<ListedInstallation> listed;
    for (const auto &record : installations) {
        const auto &account = record.installation.account;
        listed.append({record.id(), loginOf(record.identityID, sessions), account.login, account.type,
            record.installation.repositorySelection, record.isEnabled, record.installation.isSuspended()});
    }
    return listed;
}

QList<ListedRepository> listedRepositories(const QList<RepositoryRecord> &repositories, const QSet<QString> &monitored)
{
    QList<ListedRepository> listed;
    for (const auto &record : repositories) {
        const auto &repository = record.repository;
        listed.append({record.id(), repository.nameWithOwner, repository.url, repository.isPrivate,
            installationKey(record.identityID, record.installationID), record.installationAccount.login,
            record.isIncluded, monitored.contains(record.id())});
    }
    return listed;
}

} // namespace velmora
