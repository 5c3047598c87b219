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

/// Tells one state of a file from another without reading it.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0; ///< 0: there is no file
    off_t size = 0;
    std::chrono::nanoseconds modified{};
    std::chrono::nanoseconds changed{};

    static FileStamp of(const QString &path);
    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

/// What is done to the file, and what came of it. A plain value that travels between threads.
struct PreferencesExchange {
    /// The new value of each key; undefined removes the key. Without any change the file is only read.
    QMap<QString, QJsonValue> changes;
    /// Changes of lists, made one after the other to what stands in the file.
    QList<ListChanges> listChanges;
    /// What the caller knows: takes the place of a file that turns out to be damaged.
    QJsonObject lastKnown;
    /// The caller could never read the file: its changes are made in ignorance of what stands there, and are dropped
    /// where the file holds the key already.
    bool yieldsToFile = false;

    /// What each of the list changes came to.
    QList<ListChanges> differences;
    /// What the file holds now; nothing when it could not be read or written, and `failure` says why.
    std::optional<QJsonObject> content;
    FileStamp stamp;
    QString failure;
    /// What was done about a damaged file; empty when it was none.
    QString damage;
};

/// Reads the file, applies the changes under the lock of the file, replaces the file as a whole if that
/// makes a difference. The lock is on a file beside it, with the suffix ".lock", which stays. What a damaged file
/// holds is copied first, to the first free name with the suffix ".damaged". Blocks on the disk and, for at most
/// `patience`, on the lock. Does not throw.
void exchange(const QString &path, std::chrono::milliseconds patience, PreferencesExchange &exchange);

/// Makes the changes in the object, where what is no list of texts counts as an empty one, and returns what made a
/// difference.
[[nodiscard]] ListChanges applyListChanges(QJsonObject &object, const ListChanges &changes);

/// How a value looks in the file: booleans, texts and lists of texts as themselves, data as {"data": base64}.
[[nodiscard]] QJsonValue jsonFromPreference(const Preferences::Value &value);
/// Nothing when the file holds something of another kind.
[[nodiscard]] std::optional<Preferences::Value> preferenceFromJSON(const QJsonValue &json);

} // namespace velmora
