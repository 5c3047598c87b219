// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_server.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <optional>

namespace velmora
{

/// The server behind org.freedesktop.Notifications, whichever desktop provides it.
///
/// A handle is the unique bus name of the server and its number for the notification. Numbers start again with every
/// server, so calls about a notification go to the very server that showed it: a number that another server has given
/// to another program is never used.
class FreedesktopNotificationServer final : public NotificationServer
{
    Q_OBJECT

public:
    /// `appName` is what servers show as the sender, `desktopEntry` the desktop file without its suffix.
    FreedesktopNotificationServer(QDBusConnection bus, QString appName, QString desktopEntry);
    /// Its name on the session bus.
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
    std::optional<NotificationCapabilities> m_capabilities; ///< of the present server, once known
};

} // namespace velmora
