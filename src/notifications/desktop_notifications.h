// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/user_notification_service.h"

#include <QDBusConnection>
#include <QString>

#include <memory>

namespace velmora
{

/// The facts that determine which adapters are used.
struct DesktopSession {
    QStringList desktops; ///< the session's names for itself, such as "ubuntu" and "GNOME"
    bool isSandboxed = false; ///< inside a Flatpak

    /// The session of this process.
    [[nodiscard]] static DesktopSession present();
};

/// The notification permission of Velmora in this session.
[[nodiscard]] std::shared_ptr<NotificationPermission> desktopNotificationPermission(
    const QDBusConnection &bus, const DesktopSession &session);

/// The notification service of this session: the portal in a sandbox, the server of the desktop elsewhere.
[[nodiscard]] std::shared_ptr<NotificationServer> desktopNotificationServer(
    const QDBusConnection &bus, const DesktopSession &session, const QString &appName);

/// The name of that service on the session bus.
[[nodiscard]] QString desktopNotificationServiceName(const DesktopSession &session = DesktopSession::present());

/// A service that uses the adapters of this session. `appName` is the sender of its notifications. `opener` and
/// `clock` must outlive the service.
[[nodiscard]] std::unique_ptr<UserNotificationService> desktopNotificationService(const QDBusConnection &bus,
    URLOpener &opener, const Clock &clock, const QString &appName = QStringLiteral("Velmora"),
    const DesktopSession &session = DesktopSession::present());

} // namespace velmora
