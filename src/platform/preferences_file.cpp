// SPDX-License-Identifier: MIT
#include "platform/preferences_file.h"

#include "support/error.h"
#include "support/file_lock.h"
#include "support/private_file.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>

#include <sys/stat.h>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

constexpr QLatin1String kDataKey("data");
constexpr int kDamageChecks = 3;
constexpr std::chrono::milliseconds kDamagePause = 50ms;
constexpr std::chrono::milliseconds kLockPause = 10ms;

std::chrono::nanoseconds sinceEpoch(const timespec &time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// The object in the file; empty if there is no file, nullopt if it is damaged.
std::optional<QJsonObject> readObject(const QString &path)
{
    const auto text = readPrivateFile(path);
    if (!text)
        return QJsonObject();
    const QJsonDocument document = QJsonDocument::fromJson(*text);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

/// Like readObject(), but gives an editor that writes in place some time to finish before the file counts as damaged.
std::optional<QJsonObject> readPatiently(const QString &path)
{
    for (int check = 1;; ++check) {
        auto object = readObject(path);
        if (object || check == kDamageChecks)
            return object;
        QThread::msleep(static_cast<unsigned long>(kDamagePause.count()));
    }
}

/// Copies the damaged file to the first free name. Does not rename it, since it may be a link. Throws FileError.
QString setAside(const QString &path)
{
    QString target = path + QLatin1String(".damaged");
    for (int number = 2; QFileInfo::exists(target); ++number)
        target = QStringLiteral("%1.damaged-%2").arg(path).arg(number);
    writePrivateFile(target, readPrivateFile(path).value_or(QByteArray()));
    return target;
}

QString damageMessage(const QString &path, const QString &target, bool isRestored)
{
    const QString rest = isRestored ? QStringLiteral("the settings known so far are kept")
                                    : QStringLiteral("the settings start afresh");
    return QStringLiteral("The settings in %1 could not be understood. The file was kept as %2, and %3.")
        .arg(path, target, rest);
}

QJsonObject applied(QJsonObject object, const QMap<QString, QJsonValue> &changes)
{
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (change->isUndefined())
            object.remove(change.key());
        else
            object.insert(change.key(), *change);
    }
    return object;
}

/// Throws FileError if the lock is held elsewhere for longer than `patience`, or cannot be made.
std::unique_ptr<FileLock> lockOf(const QString &path, std::chrono::milliseconds patience)
{
    const QDeadlineTimer deadline(patience);
    while (true) {
        if (auto lock = FileLock::tryLock(path + QLatin1String(".lock")))
            return lock;
        if (deadline.hasExpired())
            throw FileError(QStringLiteral("Cannot write %1: another process keeps it locked").arg(path));
        QThread::msleep(static_cast<unsigned long>(kLockPause.count()));
    }
}

/// If writing fails, removes the copy of a damaged file, which is still in place, and throws FileError.
void replaceFile(const QString &path, const QJsonObject &content, const QString &copy)
{
    try {
        writePrivateFile(path, QJsonDocument(content).toJson(QJsonDocument::Indented));
    } catch (const FileError &) {
        // Otherwise each retry would leave another copy.
        if (!copy.isEmpty())
            QFile::remove(copy);
        throw;
    }
}

void applyUnderLock(const QString &path, std::chrono::milliseconds patience, PreferencesUpdate &update)
{
    makePrivateFolder(QFileInfo(path).absolutePath());
    const auto lock = lockOf(path, patience);
    const auto stored = readPatiently(path);
    const QString copy = stored ? QString() : setAside(path);
    if (stored && update.yieldsToFile)
        update.changes.removeIf([&](const auto &change) { return stored->contains(change.key()); });
    QJsonObject after = applied(stored ? *stored : update.lastKnown, update.changes);
    for (const ListChanges &changes : std::as_const(update.listChanges))
        update.differences.append(applyListChanges(after, changes));
    if (after != stored)
        replaceFile(path, after, copy);
    if (!stored)
        update.damage = damageMessage(path, copy, !update.lastKnown.isEmpty());
    // No other process replaces the file while the lock is held, so stamp and content belong together.
    update.stamp = FileStamp::of(path);
    update.content = after;
}

/// Reads the file if there are no changes to write. Returns whether that was enough.
bool readIfNothingChanged(const QString &path, PreferencesUpdate &update)
{
    if (!update.changes.isEmpty() || !update.listChanges.isEmpty())
        return false;
    // Take the stamp first, so that a change after it is noticed later.
    update.stamp = FileStamp::of(path);
    update.content = readObject(path);
    return update.content.has_value();
}

} // namespace

FileStamp FileStamp::of(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, status.st_size, sinceEpoch(status.st_mtim), sinceEpoch(status.st_ctim)};
}

void applyChanges(const QString &path, std::chrono::milliseconds patience, PreferencesUpdate &update)
{
    try {
        if (!readIfNothingChanged(path, update))
            applyUnderLock(path, patience, update);
    } catch (const Error &error) {
        update.content.reset();
        update.stamp = FileStamp::of(path);
        update.failure = error.description();
    }
}

ListChanges applyListChanges(QJsonObject &object, const ListChanges &changes)
{
    ListChanges differences;
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        const auto stored = preferenceFromJSON(object.value(change.key()));
        const QStringList *const list = stored ? std::get_if<QStringList>(&*stored) : nullptr;
        ListChange difference;
        const QStringList changed = changedList(list ? *list : QStringList(), *change, difference);
        object.insert(change.key(), QJsonArray::fromStringList(changed));
        differences.insert(change.key(), difference);
    }
    return differences;
}

QJsonValue jsonFromPreference(const Preferences::Value &value)
{
    if (const auto *boolean = std::get_if<bool>(&value))
        return *boolean;
    if (const auto *text = std::get_if<QString>(&value))
        return *text;
    if (const auto *list = std::get_if<QStringList>(&value))
        return QJsonArray::fromStringList(*list);
    QJsonObject data;
    data.insert(kDataKey, QString::fromLatin1(std::get<QByteArray>(value).toBase64()));
    return data;
}

std::optional<Preferences::Value> preferenceFromJSON(const QJsonValue &json)
{
    if (json.isBool())
        return json.toBool();
    if (json.isString())
        return json.toString();
    if (json.isArray()) {
        QStringList list;
        const QJsonArray array = json.toArray();
        for (const QJsonValue item : array) {
            if (!item.isString())
                return std::nullopt;
            list.append(item.toString());
        }
        return list;
    }
    const QJsonObject object = json.toObject();
    if (object.size() != 1 || !object.value(kDataKey).isString())
        return std::nullopt;
    const auto decoded = QByteArray::fromBase64Encoding(
        object.value(kDataKey).toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? std::optional<Preferences::Value>(*decoded) : std::nullopt;
}

} // namespace velmora
