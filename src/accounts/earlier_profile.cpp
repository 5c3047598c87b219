// SPDX-License-Identifier: MIT
#include "accounts/earlier_profile.h"

#include "accounts/github_account.h"
#include "platform/preferences.h"
#include "support/error.h"
#include "support/json.h"
#include "support/private_file.h"

#include <QFile>
#include <QLoggingCategory>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

const QString kOwnerKey = QStringLiteral("hosts.earlierOwner");
const QString kAccountsKey = QStringLiteral("github.accounts");

/// All keys that earlier versions wrote for accounts.
const QStringList &earlierKeys()
{
    static const QStringList keys{kAccountsKey, QStringLiteral("github.connections"),
        QStringLiteral("github.endedSessions"), QStringLiteral("github.disabledInstallations"),
        QStringLiteral("github.excludedRepositories"), QStringLiteral("deployments.notifiedFailures"),
        QStringLiteral("deployments.notifiedSuccesses")};
    return keys;
}

/// One key for each account, so that two processes can each remove an entry at the same time.
QString inheritedKey(qint64 accountID)
{
    return QStringLiteral("hosts.earlierToken.%1").arg(accountID);
}

void rememberTokens(Preferences *preferences)
{
    const auto data = preferences->data(kAccountsKey);
    if (!data)
        return;
    try {
        const auto accounts = decodeJSON<QList<GitHubAccount>>(*data);
        for (const GitHubAccount &account : accounts)
            preferences->setValue(inheritedKey(account.id), true);
    } catch (const Error &error) {
        qCWarning(accountsLog).noquote() << "The list of earlier accounts is not used:" << error.description();
    }
}

void moveValues(Preferences *preferences, const LoginOrigin &owner)
{
    for (const QString &key : earlierKeys()) {
        if (const auto value = preferences->value(key)) {
            preferences->setValue(owner.preferenceKey(key), *value);
            preferences->remove(key);
        }
    }
}

void moveCache(const QString &folder, const LoginOrigin &owner)
{
    const QString name = QStringLiteral("/deployments.json");
    if (folder.isEmpty() || !QFile::exists(folder + name))
        return;
    try {
        makePrivateFolder(owner.folderIn(folder));
    } catch (const Error &error) {
        qCInfo(accountsLog).noquote() << error.description();
    }
    // If it cannot be moved, github.com's list would show it: delete it, since GitHub has the original.
    if (!QFile::rename(folder + name, owner.folderIn(folder) + name))
        QFile::remove(folder + name);
}

} // namespace

void fileEarlierProfile(Preferences *preferences, const QString &cacheFolder, const LoginOrigin &owner)
{
    const bool isThere
        = std::ranges::any_of(earlierKeys(), [&](const QString &key) { return preferences->value(key).has_value(); });
    if (!isThere || earlierOwner(*preferences))
        return;
    if (!owner.isGitHub()) {
        // Start with the steps that can be repeated after a crash. The preferences are written in one step.
        moveCache(cacheFolder, owner);
        rememberTokens(preferences);
        moveValues(preferences, owner);
    }
    settleEarlierOwner(preferences, owner);
}

void settleEarlierOwner(Preferences *preferences, const LoginOrigin &owner)
{
    if (!earlierOwner(*preferences))
        preferences->setValue(kOwnerKey, owner.text());
}

std::optional<LoginOrigin> earlierOwner(const Preferences &preferences)
{
    const auto value = preferences.value(kOwnerKey);
    const QString *const text = value ? std::get_if<QString>(&*value) : nullptr;
    return text ? std::optional(LoginOrigin(QUrl(*text))) : std::nullopt;
}

bool isTokenInherited(const Preferences &preferences, qint64 accountID)
{
    return preferences.boolean(inheritedKey(accountID));
}

void forgetInheritedToken(Preferences *preferences, qint64 accountID)
{
    preferences->remove(inheritedKey(accountID));
}

} // namespace velmora
