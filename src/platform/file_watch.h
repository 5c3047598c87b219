// SPDX-License-Identifier: MIT
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

namespace velmora
{

/// Detects that any process wrote, replaced or removed a file, even if its folders do not exist yet.
class FileWatch final : public QObject
{
    Q_OBJECT

public:
    /// An empty path is never watched.
    explicit FileWatch(const QString &path, QObject *parent = nullptr);

    /// Updates the watched paths. Call it after changing the file.
    void renew();
    /// Whether changed() is about to be emitted.
    [[nodiscard]] bool isSettling() const { return m_settling.isActive(); }
    /// Emits changed() after a moment.
    void settle() { m_settling.start(); }

Q_SIGNALS:
    /// The file or its folder has changed. Emitted once for several events in a row.
    void changed();

private:
    void noticeEvent();

    QString m_path;
    QFileSystemWatcher m_watcher;
    QTimer m_settling;
};

} // namespace velmora
