// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace velmora
{

/// The folders in which Velmora keeps its files, after the XDG base directory specification. Nothing is
/// created here. A folder that cannot be told (no HOME) is empty.
struct XDGDirectories {
    QString configuration; ///< $XDG_CONFIG_HOME/velmora: preferences, the person's properties
    QStringList systemConfiguration; ///< the velmora folder of each of $XDG_CONFIG_DIRS, in their order
    QString data; ///< $XDG_DATA_HOME/velmora: locks, where there is no runtime folder
    QString cache; ///< $XDG_CACHE_HOME/velmora: the saved deployments
    /// $XDG_RUNTIME_DIR/app/com.tarvik.Velmora: locks. Gone with the session; the one folder of the kind that a Flatpak
    /// shares with the system. Empty where there is no such folder to be in.
    QString runtime;

    /// From the environment of the process; relative paths in it are ignored, as the rules want.
    static XDGDirectories fromEnvironment();
    /// Everything under one folder, nothing of the system: a throw-away profile.
    static XDGDirectories under(const QString &folder);
};

} // namespace velmora
