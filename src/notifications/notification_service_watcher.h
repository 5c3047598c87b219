// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace velmora
{

/// Announces when a notification service appears on the bus. At login that may be after Velmora's start.
class NotificationServiceWatcher final : public QObject
{
    Q_OBJECT

public:
    /// `connection` is to the session bus; if it is not connected, no signal is emitted. `service` is the service's
    /// name there.
    NotificationServiceWatcher(const QDBusConnection &connection, const QString &service, QObject *parent = nullptr);

Q_SIGNALS:
    /// The name has a new owner.
    void appeared();

private:
    QDBusServiceWatcher m_watcher;
};

} // namespace velmora
