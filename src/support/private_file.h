// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace velmora
{

/// Makes the folder and the missing ones above it, readable by nobody but the user (0700). Folders that
/// exist keep their permissions. Throws FileError.
void makePrivateFolder(const QString &path);

/// Writes the file so that at every instant either the old or the new content is there, readable by
/// nobody but the user (0600). Makes its folder first. Blocks on the disk. Throws FileError.
void writePrivateFile(const QString &path, QByteArrayView content);

/// The content of the file; nothing when there is none. Throws FileError when there is one that cannot
/// be read, or one of more than 256 MiB.
[[nodiscard]] std::optional<QByteArray> readFile(const QString &path);

} // namespace velmora
