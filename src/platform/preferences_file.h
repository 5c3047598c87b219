// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QJsonObject>
#include <QMap>
#include <QString>

#include <chrono>
#include <ctime>
#include <optional>
#include <sys/types.h>

namespace velmora
{

/// Distinguishes states of a file without reading it.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0; ///< 0: the file does not exist
    off_t size = 0;
    std::chrono::nanoseconds modified{};
    std::chrono::nanoseconds changed{};

    static FileStamp of(const QString &path);
    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

/// The changes to the file, and the outcome. A plain value that is passed between threads.
struct PreferencesUpdate {
    /// The new value of each key; an undefined value removes the key. Without changes the file is only read.
    QMap<QString, QJsonValue> changes;
    /// Changes of lists, applied in order to the content of the file.
    QList<ListChanges> listChanges;
    /// The content known to the caller. Replaces a damaged file.
    QJsonObject lastKnown;
    /// The caller could never read the file, so its changes do not override keys in the file.
    bool yieldsToFile = false;

    /// The effect of each of the list changes.
    QList<ListChanges> differences;
    /// The content of the file afterwards; nullopt if it could not be read or written, for the reason in `failure`.
    std::optional<QJsonObject> content;
    FileStamp stamp;
    QString failure;
    /// A message about the handling of a damaged file, else empty.
    QString damage;
};

/// Reads the file, applies the changes under a lock, and replaces the file as a whole if that makes a difference. The
/// lock file beside it, with the suffix ".lock", is never removed. First copies a damaged file to the first free name
/// with the suffix ".damaged". Blocks on the disk and, for at most `patience`, on the lock. Does not throw.
void applyChanges(const QString &path, std::chrono::milliseconds patience, PreferencesUpdate &update);

/// Applies the changes to the object, and returns those that had an effect. A value that is not a list of texts counts
/// as an empty list.
[[nodiscard]] ListChanges applyListChanges(QJsonObject &object, const ListChanges &changes);

/// The form of a value in the file: booleans, texts and lists of texts as themselves, data as {"data": base64}.
[[nodiscard]] QJsonValue jsonFromPreference(const Preferences::Value &value);
/// The inverse of jsonFromPreference(). Returns nullopt for a JSON value of another form.
[[nodiscard]] std::optional<Preferences::Value> preferenceFromJSON(const QJsonValue &json);

} // namespace velmora
