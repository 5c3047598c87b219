// SPDX-License-Identifier: MIT
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

namespace velmora
{

/// Notices that a file was written, replaced or removed, by whichever process; also one whose folders are still to be
/// made.
class FileWatch final : public QObject
{
    Q_OBJECT

public:
    /// An empty path is never watched.
    explicit FileWatch(const QString &path, QObject *parent = nullptr);

    /// Looks again at what there is to watch; after a change of one's own.
    void renew();
    /// Whether a change was noticed that is to be announced in a moment.
    [[nodiscard]] bool isSettling() const { return m_settling.isActive(); }
    /// Announces a change in a moment.
    void settle() { m_settling.start(); }

Q_SIGNALS:
    /// Something happened to the file or to its folder. Several events in a row are announced once.
    void changed();

private:
    void noticeEvent();

    QString m_path;
    QFileSystemWatcher m_watcher;
    QTimer m_settling;
};

} // namespace velmora
