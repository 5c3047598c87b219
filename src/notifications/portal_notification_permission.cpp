// SPDX-License-Identifier: MIT
#include "notifications/portal_notification_permission.h"

#include "dbus/bus_call.h"
#include "notifications/server_reply.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QMap>
#include <QStringList>

namespace velmora
{

namespace
{

using Permissions = QMap<QString, QStringList>;

QDBusMessage lookupCall()
{
    const QString name = QStringLiteral("org.freedesktop.impl.portal.PermissionStore");
    QDBusMessage call = QDBusMessage::createMethodCall(
        name, QStringLiteral("/org/freedesktop/impl/portal/PermissionStore"), name, QStringLiteral("Lookup"));
    call << QStringLiteral("notifications") << QStringLiteral("notification");
    return call;
}

} // namespace

QCoro::Task<bool> PortalNotificationPermission::isGranted(QDeadlineTimer deadline)
{
    const QString applicationID = m_applicationID;
    const QDBusMessage call = lookupCall();
    const auto answer = co_await callBus(m_bus, call, deadline);
    // An error means permission: nothing is stored before the user first changes the switch, and the sandbox may forbid
    // the call.
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("a{sas}v"))
        co_return true;
    const auto permissions = qdbus_cast<Permissions>(answer.arguments().constFirst());
    co_return !permissions.value(applicationID).contains(QLatin1String("no"));
}

} // namespace velmora
