// SPDX-License-Identifier: MIT
#include "cli/printed_records.h"

#include "cli/plain_text.h"
#include "support/json_coding.h"

namespace velmora
{

namespace
{

struct PrintedAccount {
    qint64 id = 0;
    QString login;
    QString status;
    std::optional<WebAddress> avatarURL;
};

struct PrintedInstallation {
    QString key;
    QString identity;
    QString account;
    QString type;
    QString repositorySelection;
    bool isEnabled = true;
};

struct PrintedRepository {
    QString id;
    QString name;
    WebAddress url;
    bool isPrivate = false;
    QString installation;
    QString account;
    bool isIncluded = true;
    bool isMonitored = true;
};

} // namespace

template <>
struct JSONTable<PrintedAccount> {
    using Record = PrintedAccount;
    static constexpr auto fields
        = std::tuple{json::required("id", &Record::id), json::required("login", &Record::login),
            json::required("status", &Record::status), json::optional("avatarURL", &Record::avatarURL)};
};

template <>
struct JSONTable<PrintedInstallation> {
    using Record = PrintedInstallation;
    static constexpr auto fields = std::tuple{json::required("key", &Record::key),
        json::required("identity", &Record::identity), json::required("account", &Record::account),
        json::required("type", &Record::type), json::required("repositorySelection", &Record::repositorySelection),
        json::required("enabled", &Record::isEnabled)};
};

template <>
struct JSONTable<PrintedRepository> {
    using Record = PrintedRepository;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id), json::required("name", &Record::name),
        json::required("url", &Record::url), json::required("private", &Record::isPrivate),
        json::required("installation", &Record::installation), json::required("account", &Record::account),
        json::required("included", &Record::isIncluded), json::required("monitored", &Record::isMonitored)};
};

QByteArray accountsJSON(const QList<GitHubAccountSession> &sessions)
{
    QList<PrintedAccount> printed;
    for (const auto &[account, status] : sessions)
        printed.append({account.id, account.login, rawValue(status), account.avatarURL});
    return harmlessJSON(encodeJSON(printed));
}

QByteArray installationsJSON(
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions)
{
    QList<PrintedInstallation> printed;
    for (const auto &record : installations) {
        const auto &account = record.installation.account;
        printed.append({record.id(), loginOf(record.identityID, sessions), account.login, account.type,
            record.installation.repositorySelection, record.isEnabled});
    }
    return harmlessJSON(encodeJSON(printed));
}

QByteArray repositoriesJSON(const QList<RepositoryRecord> &repositories, const QSet<QString> &monitored)
{
    QList<PrintedRepository> printed;
    for (const auto &record : repositories) {
        const auto &repository = record.repository;
        printed.append({record.id(), repository.nameWithOwner, repository.url, repository.isPrivate,
            installationKey(record.identityID, record.installationID), record.installationAccount.login,
            record.isIncluded, monitored.contains(record.id())});
    }
    return harmlessJSON(encodeJSON(printed));
}

QString loginOf(qint64 identityID, const QList<GitHubAccountSession> &sessions)
{
    const auto found = std::ranges::find(sessions, identityID, &GitHubAccountSession::id);
    return found == sessions.end() ? QString::number(identityID) : found->account.login;
}

} // namespace velmora
