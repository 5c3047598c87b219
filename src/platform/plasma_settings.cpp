// SPDX-License-Identifier: MIT
#include "platform/plasma_settings.h"

#include <QSettings>
#include <QStandardPaths>

namespace velmora
{

namespace
{

void readFile(const QString &path, DesktopSettings *all)
{
    const QSettings file(path, QSettings::IniFormat);
    for (const QString &name : file.allKeys()) {
        // QSettings reads a value with commas as a list.
        const QString value = file.value(name).toStringList().join(QLatin1Char(','));
        if (name.startsWith(QLatin1String("Colors:")))
            all->insert(QStringLiteral("org.kde.kdeglobals.") + name, value);
        else if (name == QLatin1String("font")) // QSettings leaves out the name of the group “General”
            all->insert(QStringLiteral("org.kde.kdeglobals.General/font"), value);
    }
}

} // namespace

PlasmaSettings::PlasmaSettings(QDBusConnection bus, QObject *parent)
    : QObject(parent)
{
    if (bus.isConnected())
        bus.connect(QString(), QStringLiteral("/KGlobalSettings"), QStringLiteral("org.kde.KGlobalSettings"),
            QStringLiteral("notifyChange"), this, SIGNAL(changed()));
}

DesktopSettings PlasmaSettings::read()
{
    DesktopSettings settings;
    // The user's file is the first, and overrides those of the system.
    const QStringList paths
        = QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation, QStringLiteral("kdeglobals"));
    for (auto path = paths.crbegin(); path != paths.crend(); ++path)
        readFile(*path, &settings);
    return settings;
}

} // namespace velmora
