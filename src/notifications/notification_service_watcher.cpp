// SPDX-License-Identifier: MIT
#include "notifications/notification_service_watcher.h"

namespace velmora
{

NotificationServiceWatcher::NotificationServiceWatcher(
    const QDBusConnection &connection, const QString &service, QObject *parent)
    : QObject(parent)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString &, const QString &, const QString &newOwner) {
            if (!newOwner.isEmpty())
                Q_EMIT appeared();
        });
    if (!connection.isConnected())
        return;
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.setConnection(connection);
    m_watcher.addWatchedService(service);
}

} // namespace velmora
