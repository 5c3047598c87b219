// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_server.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <optional>

namespace velmora
{

/// The notification portal, for use inside a Flatpak.
///
/// Each application chooses the names of its notifications, and a new one replaces one of the same name. The portal
/// does not report closed notifications. It never interprets text as markup.
class PortalNotificationServer final : public NotificationServer
{
    Q_OBJECT

public:
    explicit PortalNotificationServer(QDBusConnection bus);
    /// The name of the service on the session bus.
    [[nodiscard]] static QString serviceName();

    [[nodiscard]] QCoro::Task<> requireServer(QDeadlineTimer deadline) override;
    [[nodiscard]] QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer deadline) override;
    [[nodiscard]] QCoro::Task<QString> post(NotificationRequest request, QDeadlineTimer deadline) override;
    void withdraw(const QString &handle) override;

private Q_SLOTS:
    void receiveAction(const QDBusMessage &message);

private:
    QDBusConnection m_bus;
    std::optional<NotificationCapabilities> m_capabilities; ///< of the current portal, once known
};

} // namespace velmora
