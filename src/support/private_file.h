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

/// Makes the folder and the missing ones above it, readable by nobody but the user (0700). Folders that
/// exist keep their permissions. Throws FileError.
void makePrivateFolder(const QString &path);

/// Writes the file so that at every instant either the old or the new content is there, readable by
/// nobody but the user (0600). The new content takes the place of the old one only when all of it is on
/// the disk. A link stays: what it leads to is replaced. Makes the folder first.
///
/// Refuses what requirePrivateFile() refuses, a file without leave to write, and content over
/// kLargestFile. Blocks on the disk, on nothing else. Throws FileError, which leaves the old content.
void writePrivateFile(const QString &path, QByteArrayView content);

/// The content of the file; nothing when there is none. Blocks on the disk, on nothing else. Throws
/// FileError when there is something that cannot be read, is no regular file, is a link that leads to
/// nothing, or is larger than kLargestFile.
[[nodiscard]] std::optional<QByteArray> readFile(const QString &path);

/// Like readFile(), of a file that must belong to the user who runs the program.
[[nodiscard]] std::optional<QByteArray> readPrivateFile(const QString &path);

/// Throws the FileError that writePrivateFile() would throw before it writes anything, and one for a disk
/// without any room. Changes nothing.
void requireWritable(const QString &path);

} // namespace velmora
