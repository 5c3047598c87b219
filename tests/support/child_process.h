// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <array>
#include <cerrno>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmora::testing
{

/// What inChild() returns if the machine forbids what the work needs.
inline const QString kNotAllowed = QStringLiteral("not allowed");

/// Runs the work in a forked child, which may change its limits, rights and mounts, and returns the work's result. The
/// work must not start threads or use an event loop.
template <typename Work>
[[nodiscard]] QString inChild(Work work)
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0)
        return QStringLiteral("no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        const QByteArray result = QString(work()).toUtf8();
        const auto count = ::write(ends[1], result.constData(), static_cast<size_t>(result.size()));
        ::_exit(count == result.size() ? 0 : 1);
    }
    ::close(ends[1]);
    QByteArray result;
    std::array<char, 4096> piece{};
    for (ssize_t count = 0; (count = ::read(ends[0], piece.data(), piece.size())) > 0;)
        result.append(piece.data(), count);
    ::close(ends[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status == 0 ? QString::fromUtf8(result) : QStringLiteral("the child ended with status %1").arg(status);
}

/// Mounts an empty disk of this size, such as "64k", on the folder, visible to this process only. False if that is not
/// permitted. For use in a child only.
[[nodiscard]] inline bool mountSmallDisk(const QString &folder, const char *size)
{
    const auto write = [](const char *path, const QByteArray &text) {
        QFile file(QString::fromUtf8(path));
        return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
    };
    const QByteArray user = "0 " + QByteArray::number(::geteuid()) + " 1";
    const QByteArray group = "0 " + QByteArray::number(::getegid()) + " 1";
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/uid_map", user)
        && write("/proc/self/setgroups", "deny") && write("/proc/self/gid_map", group)
        && ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, (QByteArray("size=") + size).constData())
        == 0;
}

/// Fills the rest of the disk with a file.
inline void fillDisk(const QString &path)
{
    QFile file(path);
    const QByteArray piece(4096, 'f');
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        while (file.write(piece) == piece.size()) { }
}

} // namespace velmora::testing
