// SPDX-License-Identifier: MIT
#include "support/private_file.h"

#include "support/error.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace velmora
{

namespace
{

constexpr QLatin1String kRead("Cannot read");
constexpr QLatin1String kWrite("Cannot write");

[[noreturn]] void fail(QLatin1String what, const QString &path, const QString &why)
{
    throw FileError(QStringLiteral("%1 %2: %3").arg(what, path, why));
}

[[noreturn]] void failWith(int error, QLatin1String what, const QString &path)
{
    fail(what, path, QString::fromLocal8Bit(std::strerror(error)));
}

/// Whether the file, or even its folder, is missing.
bool isAbsence(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }

    [[nodiscard]] int number() const { return m_number; }
    /// Check the result: some file systems report a failed write only here.
    [[nodiscard]] bool close() { return ::close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number;
};

/// Other kinds of file may be endless, block, or have side effects when opened.
void requireRegular(const struct stat &status, QLatin1String what, const QString &path)
{
    if (S_ISDIR(status.st_mode))
        fail(what, path, QStringLiteral("it is a folder"));
    if (!S_ISREG(status.st_mode))
        fail(what, path, QStringLiteral("it is not a regular file"));
}

void requireOwn(const struct stat &status, QLatin1String what, const QString &path)
{
    if (status.st_uid != ::geteuid())
        fail(what, path, QStringLiteral("it belongs to another user"));
}

void requireSize(qint64 size, QLatin1String what, const QString &path)
{
    if (size > kLargestFile)
        fail(what, path, QStringLiteral("it is larger than %1 MiB").arg(kLargestFile / 1024 / 1024));
}

/// The status of the file behind all links; nullopt when the path does not exist.
std::optional<struct stat> statusOf(const QByteArray &name, QLatin1String what, const QString &path)
{
    struct stat status = {};
    if (::stat(name.constData(), &status) == 0)
        return status;
    const int error = errno;
    if (!isAbsence(error))
        failWith(error, what, path);
    struct stat link = {};
    if (::lstat(name.constData(), &link) == 0)
        fail(what, path, QStringLiteral("it is a link that leads to nothing"));
    return std::nullopt;
}

QByteArray readAll(int descriptor, const QString &path)
{
    QByteArray content;
    QByteArray piece(64 * 1024, Qt::Uninitialized);
    while (true) {
        const auto count = ::read(descriptor, piece.data(), static_cast<size_t>(piece.size()));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            failWith(errno, kRead, path);
        if (count == 0)
            return content;
        content.append(piece.constData(), count);
        // The file may grow while it is read.
        requireSize(content.size(), kRead, path);
    }
}

using Requirement = void (*)(const struct stat &status, QLatin1String what, const QString &path);

void requireNothing(const struct stat &, QLatin1String, const QString &) { }

std::optional<QByteArray> readRequiring(const QString &path, Requirement requirement)
{
    const QByteArray name = QFile::encodeName(path);
    const auto there = statusOf(name, kRead, path);
    if (!there)
        return std::nullopt;
    // Check before opening, since opening some devices has side effects.
    requireRegular(*there, kRead, path);
    const Descriptor file(::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (file.number() < 0 || ::fstat(file.number(), &status) != 0)
        failWith(errno, kRead, path);
    // Check again, since another file may have taken its place.
    requireRegular(status, kRead, path);
    requirement(status, kRead, path);
    requireSize(status.st_size, kRead, path);
    return readAll(file.number(), path);
}

/// The file to replace: the path itself, or the target of the link there.
QByteArray replacedFile(const QString &path)
{
    QByteArray name = QFile::encodeName(path);
    const auto there = statusOf(name, kWrite, path);
    if (!there)
        return name;
    requireRegular(*there, kWrite, path);
    requireOwn(*there, kWrite, path);
    // rename() would replace a read-only file as well.
    if (::access(name.constData(), W_OK) != 0)
        failWith(errno, kWrite, path);
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(name.constData(), nullptr), &std::free);
    if (!resolved)
        failWith(errno, kWrite, path);
    return resolved.get();
}

/// A new file beside the one that it will replace. Removed again unless putInPlace() succeeds.
class Replacement
{
public:
    Replacement(QByteArray replaced, const QString &path)
        : m_replaced(std::move(replaced))
        , m_path(path)
        , m_name(m_replaced + ".XXXXXX")
        , m_file(::mkostemp(m_name.data(), O_CLOEXEC))
    {
        if (m_file.number() < 0)
            failWith(errno, kWrite, m_path);
    }
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;
    ~Replacement()
    {
        if (!m_isInPlace)
            ::unlink(m_name.constData());
    }

    void write(QByteArrayView content)
    {
        while (!content.isEmpty()) {
            const auto count = ::write(m_file.number(), content.data(), static_cast<size_t>(content.size()));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                failWith(count < 0 ? errno : ENOSPC, kWrite, m_path);
            content = content.sliced(count);
        }
    }

    void putInPlace()
    {
        // EINVAL and ENOSYS: the file system has no fsync(). Other errors mean lost data.
        const bool isOnDisk = ::fsync(m_file.number()) == 0 || errno == EINVAL || errno == ENOSYS;
        if (!isOnDisk || !m_file.close())
            failWith(errno, kWrite, m_path);
        if (std::rename(m_name.constData(), m_replaced.constData()) != 0)
            failWith(errno, kWrite, m_path);
        m_isInPlace = true;
        // Failure to sync the folder is harmless: after a crash the old or the new content is there, whole.
        const QByteArray folder = m_replaced.left(m_replaced.lastIndexOf('/') + 1);
        const Descriptor place(::open(folder.isEmpty() ? "." : folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (place.number() >= 0)
            ::fsync(place.number());
    }

private:
    QByteArray m_replaced;
    QString m_path; ///< the path for messages
    QByteArray m_name;
    Descriptor m_file;
    bool m_isInPlace = false;
};

/// The folder of the file, or the nearest existing one above it.
QByteArray nearestFolder(const QByteArray &file)
{
    QString folder = QFileInfo(QFile::decodeName(file)).absolutePath();
    while (!QFileInfo::exists(folder) && folder != QFileInfo(folder).absolutePath())
        folder = QFileInfo(folder).absolutePath();
    return QFile::encodeName(folder);
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
    // Another process may have made it in the meantime. A file in its place is an error.
    if (reason != EEXIST || !QFileInfo(path).isDir())
        failWith(reason, QLatin1String("Cannot make the folder"), path);
}

void writePrivateFile(const QString &path, QByteArrayView content)
{
    requireSize(content.size(), kWrite, path);
    makePrivateFolder(QFileInfo(path).absolutePath());
    Replacement replacement(replacedFile(path), path);
    replacement.write(content);
    replacement.putInPlace();
}

std::optional<QByteArray> readFile(const QString &path)
{
    return readRequiring(path, &requireNothing);
}

std::optional<QByteArray> readPrivateFile(const QString &path)
{
    return readRequiring(path, &requireOwn);
}

void requireWritable(const QString &path)
{
    // The "/." makes access() fail if the "folder" is a file.
    const QByteArray folder = nearestFolder(replacedFile(path)) + "/.";
    if (::access(folder.constData(), W_OK | X_OK) != 0)
        failWith(errno, kWrite, path);
    struct statvfs room = {};
    // Some network file systems report no size, so nothing is known about their room.
    if (::statvfs(folder.constData(), &room) == 0 && room.f_blocks > 0 && room.f_bavail == 0)
        failWith(ENOSPC, kWrite, path);
}

} // namespace velmora
