// SPDX-License-Identifier: MIT
#include "platform/file_watch.h"

#include <QFileInfo>

namespace velmora
{

namespace
{

// One replacement of the file causes several events.
constexpr std::chrono::milliseconds kSettling{20};

/// The folder, or its nearest existing parent.
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

/// QFileSystemWatcher stops watching a replaced file, and the folder may have been created or removed.
void FileWatch::renew()
{
    if (m_path.isEmpty())
        return;
    // Repeat, since a folder may be created before its parent is watched.
    for (QString folder = nearestFolder(QFileInfo(m_path).absolutePath());
         m_watcher.directories() != QStringList(folder); folder = nearestFolder(QFileInfo(m_path).absolutePath())) {
        if (!m_watcher.directories().isEmpty())
            m_watcher.removePaths(m_watcher.directories());
        if (!m_watcher.addPath(folder))
            break;
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
