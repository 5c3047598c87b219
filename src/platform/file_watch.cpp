// SPDX-License-Identifier: MIT
#include "platform/file_watch.h"

#include <QFileInfo>

namespace velmora
{

namespace
{

// Several events come with one replacement of the file.
constexpr std::chrono::milliseconds kSettling{20};

/// The folder, or the nearest one above it that exists.
QString nearestFolder(const QString &folder)
{
    QString nearest = folder;
    while (!QFileInfo(nearest).isDir() && nearest != QFileInfo(nearest).absolutePath())
        nearest = QFileInfo(nearest).absolutePath();
    return nearest;
}

} // namespace

FileWatch::FileWatch(const QString &path, QObject *parent)
    : QObject(parent)
    , m_path(path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath())
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(kSettling);
    connect(&m_settling, &QTimer::timeout, this, &FileWatch::changed);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &FileWatch::noticeEvent);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &FileWatch::noticeEvent);
    renew();
}

/// A file that is replaced is not watched any more, and its folder may have come or gone.
void FileWatch::renew()
{
    if (m_path.isEmpty())
        return;
    const QString folder = nearestFolder(QFileInfo(m_path).absolutePath());
    const QStringList folders = m_watcher.directories();
    if (folders != QStringList(folder)) {
        if (!folders.isEmpty())
            m_watcher.removePaths(folders);
        m_watcher.addPath(folder);
    }
    if (m_watcher.files().isEmpty() && QFileInfo::exists(m_path))
        m_watcher.addPath(m_path);
}

void FileWatch::noticeEvent()
{
    renew();
    settle();
}

} // namespace velmora
