// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_server.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <optional>

namespace velmora
{

/// The notification portal, the way out of a Flatpak.
///
/// The portal takes names of the application's own choice, keeps those of every application apart, and replaces what
/// has the same name. It does not tell when a notification was closed. Its text is never markup.
class PortalNotificationServer final : public NotificationServer
{
    Q_OBJECT

public:
    explicit PortalNotificationServer(QDBusConnection bus);
    /// Its name on the session bus.
    [[nodiscard]] static QString serviceName();

    [[nodiscard]] QCoro::Task<> requireServer(QDeadlineTimer deadline) override;
    [[nodiscard]] QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer deadline) override;
    [[nodiscard]] QCoro::Task<QString> post(NotificationRequest request, QDeadlineTimer deadline) override;
    void withdraw(const QString &handle) override;

private Q_SLOTS:
    void receiveAction(const QDBusMessage &message);

private:
    QDBusConnection m_bus;
    std::optional<NotificationCapabilities> m_capabilities; ///< of the present portal, once known
};

} // namespace velmora
