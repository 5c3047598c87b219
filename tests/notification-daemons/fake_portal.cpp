// SPDX-License-Identifier: MIT
#include "fake_portal.h"

#include "fake_notification_daemon.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

namespace velmora::testing
{

namespace
{

const QString kConnection = QStringLiteral("portal");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kStorePath = QStringLiteral("/org/freedesktop/impl/portal/PermissionStore");

} // namespace

FakePortal::FakePortal()
{
    qDBusRegisterMetaType<QMap<QString, QStringList>>();
    QDBusConnection bus = connectToTestBus(kConnection);
    const bool isThere = bus.registerVirtualObject(kPath, this) && bus.registerVirtualObject(kStorePath, this)
        && bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"))
        && bus.registerService(QStringLiteral("org.freedesktop.impl.portal.PermissionStore"));
    if (!isThere)
        qFatal("the fake portal could not take its place on the bus");
}

FakePortal::~FakePortal()
{
    QDBusConnection(kConnection).unregisterObject(kPath);
    QDBusConnection(kConnection).unregisterObject(kStorePath);
    QDBusConnection::disconnectFromBus(kConnection);
}

void FakePortal::activate(const QString &name, const QString &action, const QVariantList &parameters)
{
    QDBusMessage signal = QDBusMessage::createSignal(
        kPath, QStringLiteral("org.freedesktop.portal.Notification"), QStringLiteral("ActionInvoked"));
    signal << name << action << QVariant(parameters);
    QDBusConnection(kConnection).send(signal);
}

bool FakePortal::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    message.setDelayedReply(true);
    const QVariantList arguments = message.arguments();
    const QString member = message.member();
    if (member == QLatin1String("Lookup")) {
        lookups.append(arguments);
        if (storeHangs)
            return true;
        if (!storesPermissions)
            connection.send(message.createErrorReply(
                QStringLiteral("org.freedesktop.portal.Error.NotFound"), QStringLiteral("No entry")));
        else
            connection.send(message.createReply(
                {QVariant::fromValue(permissions), QVariant::fromValue(QDBusVariant(QVariant(false)))}));
        return true;
    }
    if (isHanging)
        return true;
    if (member == QLatin1String("Get")) {
        connection.send(message.createReply(QVariant::fromValue(QDBusVariant(version))));
    } else if (member == QLatin1String("AddNotification")) {
        added.append({arguments.at(0).toString(), qdbus_cast<QVariantMap>(arguments.at(1))});
        connection.send(message.createReply());
    } else if (member == QLatin1String("RemoveNotification")) {
        removed.append(arguments.at(0).toString());
        connection.send(message.createReply());
    }
    return true;
}

} // namespace velmora::testing
