// SPDX-License-Identifier: MIT
#include "platform/xdg_directories.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace velmora
{

namespace
{

constexpr auto kName = "/velmora";

bool isUsable(const QString &folder)
{
    return folder.startsWith(QLatin1Char('/'));
}

QString ownFolder(const QString &base)
{
    return base.isEmpty() ? QString() : QDir::cleanPath(base + QLatin1String(kName));
}

/// The folder in the variable, else the one below HOME; empty without HOME.
QString baseFolder(const char *variable, QLatin1String belowHome)
{
    QString named = QFile::decodeName(qgetenv(variable));
    if (isUsable(named))
        return named;
    const QString home = QFile::decodeName(qgetenv("HOME"));
    return isUsable(home) ? home + belowHome : QString();
}

QStringList systemFolders()
{
    QString named = QFile::decodeName(qgetenv("XDG_CONFIG_DIRS"));
    if (named.isEmpty())
        named = QStringLiteral("/etc/xdg");
    QStringList folders;
    const QStringList candidates = named.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &candidate : candidates) {
        if (isUsable(candidate))
            folders.append(ownFolder(candidate));
    }
    return folders;
}

QString runtimeFolder()
{
    const QString base = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    // The session creates it. Do not create a missing one, since no other process would use it.
    if (!isUsable(base) || !QFileInfo(base).isDir())
        return {};
    return QDir::cleanPath(base + QStringLiteral("/app/com.tarvik.Velmora"));
}

} // namespace

XDGDirectories XDGDirectories::fromEnvironment()
{
    return {ownFolder(baseFolder("XDG_CONFIG_HOME", QLatin1String("/.config"))), systemFolders(),
        ownFolder(baseFolder("XDG_DATA_HOME", QLatin1String("/.local/share"))),
        ownFolder(baseFolder("XDG_CACHE_HOME", QLatin1String("/.cache"))), runtimeFolder()};
}

XDGDirectories XDGDirectories::under(const QString &folder)
{
    const QDir root(folder);
    return {root.filePath(QStringLiteral("config")), {}, root.filePath(QStringLiteral("data")),
        root.filePath(QStringLiteral("cache")), root.filePath(QStringLiteral("runtime"))};
}

} // namespace velmora
