// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

namespace velmora
{

/// An exclusive lock, between processes and between objects of one process, for the lifetime of this object. It is a
/// lock on a file, which is never removed. The kernel frees it when its process ends, however that happens.
class FileLock
{
public:
    /// Null while another object or process holds the lock. Creates a missing file, but not its folder, accessible to
    /// the user alone (0600). Never waits. Throws FileError when the file cannot be locked.
    [[nodiscard]] static std::unique_ptr<FileLock> tryLock(const QString &path);
    ~FileLock();
    /// The note in the file, at most 4 KiB of it. A note stays until the next setNote(), even if the holder is killed.
    [[nodiscard]] QByteArray note() const;
    /// Replaces the note. Returns whether it was written.
    [[nodiscard]] bool setNote(const QByteArray &note);

    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    explicit FileLock(int descriptor);

    int m_descriptor;
};

} // namespace velmora
