// SPDX-License-Identifier: MIT
#include "notifications/desktop_notifications.h"

#include "notifications/freedesktop_notification_server.h"
#include "notifications/gnome_notification_permission.h"
#include "notifications/plasma_notification_permission.h"
#include "notifications/portal_notification_permission.h"
#include "notifications/portal_notification_server.h"
#include "platform/current_desktops.h"

#include <QFile>

#include <algorithm>
#include <array>

namespace velmora
{

namespace
{

/// The name of the desktop file without suffix. Also the application's id in a sandbox and the name of its icon.
QString desktopEntry()
{
    return QStringLiteral("com.tarvik.Velmora");
}

bool usesGnomeSettings(const QStringList &desktops)
{
    static constexpr std::array kNames = {"GNOME", "Budgie", "Unity"};
    return std::ranges::any_of(
        kNames, [&](const char *name) { return desktops.contains(QLatin1String(name), Qt::CaseInsensitive); });
}

} // namespace

DesktopSession DesktopSession::present()
{
    return DesktopSession{
        .desktops = currentDesktops(),
        .isSandboxed = QFile::exists(QStringLiteral("/.flatpak-info")),
    };
}

std::shared_ptr<NotificationPermission> desktopNotificationPermission(
    const QDBusConnection &bus, const DesktopSession &session)
{
    if (session.isSandboxed)
        return std::make_shared<PortalNotificationPermission>(bus, desktopEntry());
    if (usesGnomeSettings(session.desktops))
        return std::make_shared<GnomeNotificationPermission>(desktopEntry());
    if (session.desktops.contains(QLatin1String("KDE"), Qt::CaseInsensitive))
        return std::make_shared<PlasmaNotificationPermission>(
            desktopEntry(), PlasmaNotificationPermission::defaultFiles());
    return std::make_shared<UnrestrictedNotificationPermission>();
}

std::shared_ptr<NotificationServer> desktopNotificationServer(
    const QDBusConnection &bus, const DesktopSession &session, const QString &appName)
{
    // The portal adds the name of the application itself.
    if (session.isSandboxed)
        return std::make_shared<PortalNotificationServer>(bus);
    return std::make_shared<FreedesktopNotificationServer>(bus, appName, desktopEntry());
}

QString desktopNotificationServiceName(const DesktopSession &session)
{
    return session.isSandboxed ? PortalNotificationServer::serviceName() : FreedesktopNotificationServer::serviceName();
}

std::unique_ptr<UserNotificationService> desktopNotificationService(const QDBusConnection &bus, URLOpener &opener,
    const Clock &clock, const QString &appName, const DesktopSession &session)
{
    return std::make_unique<UserNotificationService>(
        desktopNotificationServer(bus, session, appName), desktopNotificationPermission(bus, session), opener, clock);
}

} // namespace velmora
