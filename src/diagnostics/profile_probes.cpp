// SPDX-License-Identifier: MIT
#include "diagnostics/profile_probes.h"

#include "accounts/earlier_profile.h"
#include "accounts/ended_sessions.h"
#include "accounts/github_account.h"
#include "accounts/origin_preferences.h"
#include "diagnostics/texts.h"
#include "platform/preferences_file.h"
#include "presentation/relative_time.h"
#include "support/error.h"
#include "support/json.h"
#include "support/private_file.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonDocument>

namespace velmora
{

namespace
{

/// Preferences read from a file; changes stay in memory.
class PreferencesCopy final : public Preferences
{
public:
    explicit PreferencesCopy(QJsonObject content)
        : m_content(std::move(content))
    {
    }
    [[nodiscard]] std::optional<Value> value(const QString &key) const override
    {
        return preferenceFromJSON(m_content.value(key));
    }
    void setValue(const QString &key, const Value &value) override { m_content.insert(key, jsonFromPreference(value)); }
    void remove(const QString &key) override { m_content.remove(key); }

private:
    QJsonObject m_content;
};

/// The state, behind the path unless that is empty.
QString fileText(const QString &path, const QString &state)
{
    if (path.isEmpty())
        return state;
    return QStringLiteral("%1: %2").arg(pathFromHome(path), state);
}

/// The reason of the error without the path, which contains folders of the user.
QString reasonOf(const FileError &error, const QString &path)
{
    return error.description().section(path + QStringLiteral(": "), -1);
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
        const auto bytes = readPrivateFile(path);
        if (!bytes)
            return {{}, QStringLiteral("not there yet")};
        const QJsonDocument document = QJsonDocument::fromJson(*bytes);
        if (!document.isObject())
            return {{}, QStringLiteral("damaged, %1").arg(sizeText(bytes->size()))};
        return {document.object(), QStringLiteral("readable, %1").arg(sizeText(bytes->size()))};
    } catch (const FileError &error) {
        return {{}, QStringLiteral("cannot be read: ") + reasonOf(error, path)};
    }
}

/// Why the file cannot be written, as a suffix for its state; empty if it can.
QString obstacleText(const QString &path)
{
    try {
        requireWritable(path);
        return QString();
    } catch (const FileError &error) {
        return QStringLiteral("; cannot be saved: ") + reasonOf(error, path);
    }
}

QList<qint64> accountIDs(const Preferences &preferences)
{
    const auto data = preferences.data(QStringLiteral("github.accounts")).value_or(QByteArray());
    QList<qint64> ids;
    try {
        const auto accounts = decodeJSON<QList<GitHubAccount>>(data);
        for (const GitHubAccount &account : accounts)
            ids.append(account.id);
    } catch (const Error &) {
        // There is no valid list; the program does not use it either.
    }
    return ids;
}

/// `shown` stands for the path in the text.
QString cacheText(const QString &path, const QString &shown, Instant now)
{
    const QFileInfo file(path);
    if (path.isEmpty())
        return QStringLiteral("none");
    const QString obstacle = obstacleText(path);
    if (!file.exists())
        return obstacle.isEmpty() ? QStringLiteral("none") : fileText(shown, QStringLiteral("none") + obstacle);
    if (!file.isFile() || !file.isReadable())
        return fileText(shown, QStringLiteral("cannot be read") + obstacle);
    const Instant saved(std::chrono::milliseconds(file.lastModified().toMSecsSinceEpoch()));
    return fileText(
        shown, QStringLiteral("%1, saved %2").arg(sizeText(file.size()), relativeTime(saved, now)) + obstacle);
}

QString countText(qsizetype count, const QString &one, const QString &several)
{
    return QStringLiteral("%1 %2").arg(count).arg(count == 1 ? one : several);
}

QString choicesText(const Preferences &preferences)
{
    const auto installations = preferences.stringList(QStringLiteral("github.disabledInstallations"));
    const auto repositories = preferences.stringList(QStringLiteral("github.excludedRepositories"));
    return countText(installations.size(), QStringLiteral("installation"), QStringLiteral("installations"))
        + QStringLiteral(", ")
        + countText(repositories.size(), QStringLiteral("repository"), QStringLiteral("repositories"));
}

/// The cache file of the origin. Caches of earlier versions have no folder for each origin until the program moves them
/// at its start.
QString cachePath(const ProfilePlaces &places, bool isFiled)
{
    if (places.cacheFolder.isEmpty())
        return QString();
    const bool isOfEarlier = !isFiled && places.earlierOwner == places.origin;
    const QString folder = isOfEarlier ? places.cacheFolder : places.origin.folderIn(places.cacheFolder);
    return folder + QStringLiteral("/deployments.json");
}

/// The path without the folder that is named after the host.
QString withoutHost(const QString &cachePath, const ProfilePlaces &places)
{
    const QString file = QStringLiteral("/deployments.json");
    const bool hasFolder = cachePath != places.cacheFolder + file;
    return hasFolder ? places.cacheFolder + QStringLiteral("/…") + file : cachePath;
}

} // namespace

ProfileRecord readProfile(const ProfilePlaces &places, Instant now)
{
    const ReadPreferences read = readPreferences(places.preferencesFile);
    const auto preferences = std::make_shared<PreferencesCopy>(read.content);
    const bool isFiled = earlierOwner(*preferences).has_value();
    if (places.earlierOwner)
        fileEarlierProfile(preferences.get(), QString(), *places.earlierOwner);
    const OriginPreferences accountPreferences(preferences.get(), places.origin);
    const QString obstacle = places.preferencesFile.isEmpty() ? QString() : obstacleText(places.preferencesFile);
    const QString cache = cachePath(places, isFiled);
    ProfileRecord record;
    record.findings = {
        {QStringLiteral("preferences"), fileText(places.preferencesFile, read.state + obstacle)},
        {QStringLiteral("cache"), cacheText(cache, withoutHost(cache, places), now)},
    };
    record.choices = {{QStringLiteral("switched off"), choicesText(accountPreferences)}};
    record.accountIDs = accountIDs(accountPreferences);
    record.endedSessions = accountPreferences.stringList(EndedSessions::key());
    record.preferences = preferences;
    return record;
}

} // namespace velmora
