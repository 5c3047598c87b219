// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_server.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <optional>

namespace velmora
{

/// The server of org.freedesktop.Notifications on any desktop.
///
/// A handle consists of the server's unique bus name and its number for the notification. Every new server starts
/// counting again, so calls about a notification go only to the server that showed it. They never affect another
/// program's notification with the same number.
class FreedesktopNotificationServer final : public NotificationServer
{
    Q_OBJECT

public:
    /// Servers show `appName` as the sender. `desktopEntry` is the name of the desktop file without suffix.
    FreedesktopNotificationServer(QDBusConnection bus, QString appName, QString desktopEntry);
    /// The name of the service on the session bus.
    [[nodiscard]] static QString serviceName();

    [[nodiscard]] QCoro::Task<> requireServer(QDeadlineTimer deadline) override;
    [[nodiscard]] QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer deadline) override;
    [[nodiscard]] QCoro::Task<QString> post(NotificationRequest request, QDeadlineTimer deadline) override;
    void withdraw(const QString &handle) override;

private Q_SLOTS:
    void receiveClosed(const QDBusMessage &message);
    void receiveActivationToken(const QDBusMessage &message);
    void receiveAction(const QDBusMessage &message);

private:
    void listenTo(const QString &signal, const char *slot);
    [[nodiscard]] QDBusMessage notifyCall(const NotificationRequest &request) const;

    QDBusConnection m_bus;
    QString m_appName;
    QString m_desktopEntry;
    std::optional<NotificationCapabilities> m_capabilities; ///< of the current server, once known
};

} // namespace velmora
