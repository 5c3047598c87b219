// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

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
    /// The new value of each key; undefined removes the key. Nothing: the file is only read.
    QMap<QString, QJsonValue> changes;
    /// What the caller knows: takes the place of a file that turns out to be damaged.
    QJsonObject lastKnown;

    /// What the file holds now; nothing when it could not be read or written, and `failures` says why.
    std::optional<QJsonObject> content;
    FileStamp stamp;
    QStringList failures;
};

/// Reads the file, applies the changes under the lock of the file, replaces the file as a whole if that
/// makes a difference. Blocks on the disk and, for at most `patience`, on the lock. Does not throw.
void exchange(const QString &path, std::chrono::milliseconds patience, PreferencesExchange &exchange);

/// How a value looks in the file: booleans, texts and lists of texts as themselves, data as {"data": base64}.
[[nodiscard]] QJsonValue jsonFromPreference(const Preferences::Value &value);
/// Nothing when the file holds something of another kind.
[[nodiscard]] std::optional<Preferences::Value> preferenceFromJSON(const QJsonValue &json);

} // namespace velmora
