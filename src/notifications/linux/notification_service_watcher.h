// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace velmora
{

/// Tells when a notification service comes to the bus, which at login may be a moment after Velmora.
class NotificationServiceWatcher final : public QObject
{
    Q_OBJECT

public:
    /// `connection` is to the session bus; without one it keeps quiet. `service` is the name of the notification
    /// service there.
    NotificationServiceWatcher(const QDBusConnection &connection, const QString &service, QObject *parent = nullptr);

Q_SIGNALS:
    /// The name has an owner now, the first one or another one.
    void appeared();

private:
    QDBusServiceWatcher m_watcher;
};

} // namespace velmora
