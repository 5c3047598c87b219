// SPDX-License-Identifier: MIT
#include "platform/preferences_file.h"

#include "support/error.h"
#include "support/private_file.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLockFile>
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

std::chrono::nanoseconds sinceEpoch(const timespec &time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// The object in the file, an empty one when there is no file, nothing when the file is damaged.
std::optional<QJsonObject> readObject(const QString &path)
{
    const auto text = readFile(path);
    if (!text)
        return QJsonObject();
    const QJsonDocument document = QJsonDocument::fromJson(*text);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

/// Like readObject(); an editor that writes in place gets the time to finish before its file counts as damaged.
std::optional<QJsonObject> readPatiently(const QString &path)
{
    for (int check = 1;; ++check) {
        auto object = readObject(path);
        if (object || check == kDamageChecks)
            return object;
        QThread::msleep(static_cast<unsigned long>(kDamagePause.count()));
    }
}

/// Renames the damaged file to the first free name; throws FileError.
QString setAside(const QString &path)
{
    QString target = path + QLatin1String(".damaged");
    for (int number = 2; QFileInfo::exists(target); ++number)
        target = QStringLiteral("%1.damaged-%2").arg(path).arg(number);
    QFile file(path);
    if (!file.rename(target))
        throw FileError(QStringLiteral("Cannot set the damaged %1 aside: %2").arg(path, file.errorString()));
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

void exchangeUnderLock(const QString &path, std::chrono::milliseconds patience, PreferencesExchange &exchange)
{
    makePrivateFolder(QFileInfo(path).absolutePath());
    const QString lockPath = path + QLatin1String(".lock");
    QLockFile lock(lockPath);
    if (!lock.tryLock(static_cast<int>(patience.count())))
        throw FileError(QStringLiteral("Cannot write %1: another process keeps it locked").arg(path));
    QFile::setPermissions(lockPath, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const auto stored = readPatiently(path);
    if (!stored) {
        const QString target = setAside(path);
        exchange.failures.append(damageMessage(path, target, !exchange.lastKnown.isEmpty()));
    }
    const QJsonObject before = stored.value_or(QJsonObject());
    const QJsonObject after = applied(stored ? *stored : exchange.lastKnown, exchange.changes);
    if (after != before)
        writePrivateFile(path, QJsonDocument(after).toJson(QJsonDocument::Indented));
    // Nobody else replaces the file while the lock is held, so stamp and content belong together.
    exchange.stamp = FileStamp::of(path);
    exchange.content = after;
}

/// Whether reading was enough.
bool readOnly(const QString &path, PreferencesExchange &exchange)
{
    if (!exchange.changes.isEmpty())
        return false;
    // The stamp first: a change after it is then noticed later.
    exchange.stamp = FileStamp::of(path);
    exchange.content = readObject(path);
    return exchange.content.has_value();
}

} // namespace

FileStamp FileStamp::of(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, status.st_size, sinceEpoch(status.st_mtim), sinceEpoch(status.st_ctim)};
}

void exchange(const QString &path, std::chrono::milliseconds patience, PreferencesExchange &exchange)
{
    try {
        if (!readOnly(path, exchange))
            exchangeUnderLock(path, patience, exchange);
    } catch (const Error &error) {
        exchange.content.reset();
        exchange.stamp = FileStamp::of(path);
        exchange.failures.append(error.description());
    }
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
