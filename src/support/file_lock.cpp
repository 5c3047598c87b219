// SPDX-License-Identifier: MIT
#include "support/file_lock.h"

#include "support/error.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora
{

namespace
{

[[noreturn]] void fail(const QString &path, const QString &why)
{
    throw FileError(QStringLiteral("Cannot lock %1: %2").arg(path, why));
}

[[noreturn]] void failWith(int error, const QString &path)
{
    fail(path, QString::fromLocal8Bit(std::strerror(error)));
}

} // namespace

std::unique_ptr<FileLock> FileLock::tryLock(const QString &path)
{
    constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const int descriptor = ::open(QFile::encodeName(path).constData(), kFlags, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        failWith(errno, path);
    // From here on `lock` closes the descriptor.
    std::unique_ptr<FileLock> lock(new FileLock(descriptor));
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        failWith(errno, path);
    if (!S_ISREG(status.st_mode))
        fail(path, QStringLiteral("it is not a regular file"));
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK)
            failWith(errno, path);
        return nullptr;
    }
    // A cleaner of old files may have removed the file since it was opened. Other processes would then lock a new one.
    if (::fstat(descriptor, &status) != 0 || status.st_nlink == 0)
        return nullptr;
    // A recent modification time keeps such cleaners away. The lock holds even if the time cannot be set.
    [[maybe_unused]] const int touched = ::futimens(descriptor, nullptr);
    return lock;
}

FileLock::FileLock(int descriptor)
    : m_descriptor(descriptor)
{
}

QByteArray FileLock::note() const
{
    constexpr qsizetype kLongest = 4096;
    QByteArray note(kLongest, Qt::Uninitialized);
    const ssize_t length = ::pread(m_descriptor, note.data(), static_cast<std::size_t>(kLongest), 0);
    note.truncate(std::max(length, ssize_t(0)));
    return note;
}

bool FileLock::setNote(const QByteArray &note)
{
    if (::ftruncate(m_descriptor, 0) != 0)
        return false;
    return ::pwrite(m_descriptor, note.constData(), static_cast<std::size_t>(note.size()), 0) == note.size();
}

FileLock::~FileLock()
{
    // Unlock before closing: a forked child may keep the descriptor open until its exec().
    ::flock(m_descriptor, LOCK_UN);
    ::close(m_descriptor);
}

} // namespace velmora
