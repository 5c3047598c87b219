// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace velmora
{

/// The folders for Velmora's files, by the XDG base directory specification. Creates nothing. A folder that is unknown
/// (no HOME) is empty.
struct XDGDirectories {
    QString configuration; ///< $XDG_CONFIG_HOME/velmora: preferences, the user's properties
    QStringList systemConfiguration; ///< the velmora folder in each of $XDG_CONFIG_DIRS, in their order
    QString data; ///< $XDG_DATA_HOME/velmora: locks if there is no runtime folder
    QString cache; ///< $XDG_CACHE_HOME/velmora: the saved deployments
    /// $XDG_RUNTIME_DIR/app/com.tarvik.Velmora: locks. Removed with the session. The only runtime folder that a Flatpak
    /// shares with the system. Empty if $XDG_RUNTIME_DIR does not exist.
    QString runtime;

    /// From the environment of the process. Ignores relative paths, as the XDG base directories demand.
    static XDGDirectories fromEnvironment();
    /// All folders below one, without the system's: a temporary profile.
    static XDGDirectories under(const QString &folder);
};

} // namespace velmora
