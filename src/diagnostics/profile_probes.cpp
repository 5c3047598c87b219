// SPDX-License-Identifier: MIT
#include "diagnostics/profile_probes.h"

#include "accounts/github_account.h"
#include "diagnostics/private_names.h"
#include "diagnostics/texts.h"
#include "platform/preferences_file.h"
#include "support/error.h"
#include "support/json.h"
#include "support/private_file.h"
#include "support/relative_time.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonDocument>

namespace velmora
{

namespace
{

/// The state behind the path of the file, where it has one.
QString fileText(const QString &path, const QString &state)
{
    if (path.isEmpty())
        return state;
    return QStringLiteral("%1: %2").arg(pathFromHome(path, homesOfPerson()), state);
}

struct ReadPreferences {
    QJsonObject content;
    QString state;
};

ReadPreferences readPreferences(const QString &path)
{
    if (path.isEmpty())
        return {{}, QStringLiteral("there is no home for it")};
    try {
        const auto bytes = readFile(path);
        if (!bytes)
            return {{}, QStringLiteral("not there yet")};
        const QJsonDocument document = QJsonDocument::fromJson(*bytes);
        if (!document.isObject())
            return {{}, QStringLiteral("damaged, %1").arg(sizeText(bytes->size()))};
        return {document.object(), QStringLiteral("readable, %1").arg(sizeText(bytes->size()))};
    } catch (const Error &) {
        return {{}, QStringLiteral("cannot be read")};
    }
}

template <typename T>
T preference(const QJsonObject &content, const QString &key)
{
    const auto value = preferenceFromJSON(content.value(key));
    const T *typed = value ? std::get_if<T>(&*value) : nullptr;
    return typed ? *typed : T();
}

QList<qint64> accountIDs(const QJsonObject &content)
{
    const auto data = preference<QByteArray>(content, QStringLiteral("github.accounts"));
    QList<qint64> ids;
    try {
        const auto accounts = decodeJSON<QList<GitHubAccount>>(data);
        for (const GitHubAccount &account : accounts)
            ids.append(account.id);
    } catch (const Error &) {
        // No list, or one that the program does not use either.
    }
    return ids;
}

QString cacheText(const QString &path, Instant now)
{
    const QFileInfo file(path);
    if (path.isEmpty() || !file.exists())
        return QStringLiteral("none");
    if (!file.isReadable())
        return fileText(path, QStringLiteral("cannot be read"));
    const Instant saved(std::chrono::milliseconds(file.lastModified().toMSecsSinceEpoch()));
    return fileText(path, QStringLiteral("%1, saved %2").arg(sizeText(file.size()), relativeTime(saved, now)));
}

QString countText(qsizetype count, const QString &one, const QString &several)
{
    return QStringLiteral("%1 %2").arg(count).arg(count == 1 ? one : several);
}

QString choicesText(const QJsonObject &content)
{
    const auto installations = preference<QStringList>(content, QStringLiteral("github.disabledInstallations"));
    const auto repositories = preference<QStringList>(content, QStringLiteral("github.excludedRepositories"));
    return countText(installations.size(), QStringLiteral("installation"), QStringLiteral("installations"))
        + QStringLiteral(", ")
        + countText(repositories.size(), QStringLiteral("repository"), QStringLiteral("repositories"));
}

} // namespace

ProfileRecord readProfile(const QString &preferencesPath, const QString &cachePath, Instant now)
{
    const ReadPreferences preferences = readPreferences(preferencesPath);
    ProfileRecord record;
    record.findings = {
        {QStringLiteral("preferences"), fileText(preferencesPath, preferences.state)},
        {QStringLiteral("cache"), cacheText(cachePath, now)},
    };
    record.choices = {{QStringLiteral("switched off"), choicesText(preferences.content)}};
    record.accountIDs = accountIDs(preferences.content);
    return record;
}

} // namespace velmora
