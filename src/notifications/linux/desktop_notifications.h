// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/user_notification_service.h"

#include <QDBusConnection>
#include <QString>

#include <memory>

namespace velmora
{

/// What decides how this desktop is spoken with.
struct DesktopSession {
    QStringList desktops; ///< the names that the session gives itself, such as "ubuntu" and "GNOME"
    bool isSandboxed = false; ///< inside of a Flatpak

    /// The session that this process runs in.
    [[nodiscard]] static DesktopSession present();
};

/// The permission of the desktop file in this session.
[[nodiscard]] std::shared_ptr<NotificationPermission> desktopNotificationPermission(
    const QDBusConnection &bus, const DesktopSession &session);

/// The notification service of this session: the portal in a sandbox, the server of the desktop elsewhere.
[[nodiscard]] std::shared_ptr<NotificationServer> desktopNotificationServer(
    const QDBusConnection &bus, const DesktopSession &session, const QString &appName);

/// The name under which that service is on the session bus.
[[nodiscard]] QString desktopNotificationServiceName(const DesktopSession &session = DesktopSession::present());

/// A service ready for use over the adapters of this session. Its notifications come from `appName`; `opener` lives
/// longer than the service.
[[nodiscard]] std::unique_ptr<UserNotificationService> desktopNotificationService(const QDBusConnection &bus,
    URLOpener &opener, const QString &appName = QStringLiteral("Velmora"),
    const DesktopSession &session = DesktopSession::present());

} // namespace velmora
