// SPDX-License-Identifier: MIT
#include "support/private_file.h"

#include "support/error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace velmora
{

namespace
{

constexpr qint64 kLargestFile = 256LL * 1024 * 1024;

[[noreturn]] void fail(const QString &what, const QString &path, const QString &why)
{
    throw FileError(QStringLiteral("%1 %2: %3").arg(what, path, why));
}

} // namespace

void makePrivateFolder(const QString &path)
{
    if (QFileInfo(path).isDir())
        return;
    const QString parent = QFileInfo(path).absolutePath();
    if (parent != path)
        makePrivateFolder(parent);
    if (::mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0)
        return;
    const int reason = errno;
    // Somebody else may have made it in the meantime; a file in its place is no folder.
    if (reason != EEXIST || !QFileInfo(path).isDir())
        fail(QStringLiteral("Cannot make the folder"), path, QString::fromLocal8Bit(std::strerror(reason)));
}

void writePrivateFile(const QString &path, QByteArrayView content)
{
    makePrivateFolder(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    const auto require = [&](bool done) {
        if (!done)
            fail(QStringLiteral("Cannot write"), path, file.errorString());
    };
    require(file.open(QIODevice::WriteOnly));
    require(file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    require(file.write(content.data(), content.size()) == content.size());
    require(file.commit());
}

std::optional<QByteArray> readFile(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return std::nullopt;
    if (!file.open(QIODevice::ReadOnly))
        fail(QStringLiteral("Cannot read"), path, file.errorString());
    if (file.size() > kLargestFile)
        fail(QStringLiteral("Cannot read"), path, QStringLiteral("the file is too large"));
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        fail(QStringLiteral("Cannot read"), path, file.errorString());
    return content;
}

} // namespace velmora
