// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

namespace velmora
{

/// A lock between processes, and between objects of one process: held from its making to its end. It lies on a file
/// that stays where it is; the kernel frees it with its holder, however that one ends.
class FileLock
{
public:
    /// Nothing while the lock is held elsewhere. Makes the file when it is missing, readable by nobody but the user
    /// (0600), but not its folder. Never waits. Throws FileError when there can be no lock.
    [[nodiscard]] static std::unique_ptr<FileLock> tryLock(const QString &path);
    ~FileLock();
    /// What a holder has left in the file, at most 4 KiB of it. It stays until another one is left, also when its
    /// holder is killed.
    [[nodiscard]] QByteArray note() const;
    /// Leaves this in the file instead of what it held. Whether that was possible.
    [[nodiscard]] bool setNote(const QByteArray &note);

    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    explicit FileLock(int descriptor);

    int m_descriptor;
};

} // namespace velmora
