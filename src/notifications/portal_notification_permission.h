// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_permission.h"

#include <QDBusConnection>
#include <QString>

#include <utility>

namespace velmora
{

/// The desktop's permission for a sandboxed application. Counts as granted if the sandbox forbids reading it.
class PortalNotificationPermission final : public NotificationPermission
{
public:
    PortalNotificationPermission(QDBusConnection bus, QString applicationID)
        : m_bus(std::move(bus))
        , m_applicationID(std::move(applicationID))
    {
    }

    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer deadline) override;

private:
    QDBusConnection m_bus;
    QString m_applicationID;
};

} // namespace velmora
