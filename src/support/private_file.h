// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace velmora
{

/// The largest file, in bytes, that is read or written: 8 MiB.
inline constexpr qint64 kLargestFile = 8LL * 1024 * 1024;

/// Makes the folder and its missing parents, accessible to the user alone (0700). Existing folders keep their
/// permissions. Throws FileError.
void makePrivateFolder(const QString &path);

/// Writes the file, accessible to the user alone (0600). At every instant the old or the new content is there: the new
/// one replaces the old only when all of it is on the disk. A link stays, and its target is replaced. Makes the folder
/// first.
///
/// Refuses the files that readPrivateFile() refuses, a file without write permission, and content over kLargestFile.
/// May block on the disk only. Throws FileError, and then the old content stays.
void writePrivateFile(const QString &path, QByteArrayView content);

/// The content of the file, nullopt if it does not exist. May block on the disk only. Throws FileError if it cannot be
/// read, is no regular file, is a dangling link, or is larger than kLargestFile.
[[nodiscard]] std::optional<QByteArray> readFile(const QString &path);

/// Like readFile(), but also throws if the file belongs to another user than that of the process.
[[nodiscard]] std::optional<QByteArray> readPrivateFile(const QString &path);

/// Throws the FileErrors that writePrivateFile() would throw before writing, and one for a full disk. Changes nothing.
void requireWritable(const QString &path);

} // namespace velmora
