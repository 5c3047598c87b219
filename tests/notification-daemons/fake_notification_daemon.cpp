// SPDX-License-Identifier: MIT
#include "fake_notification_daemon.h"

#include <QDBusMessage>

namespace velmora::testing
{

namespace
{

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");

} // namespace

QString testBusAddress()
{
    return qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
}

QDBusConnection connectToTestBus(const QString &name)
{
    return QDBusConnection::connectToBus(testBusAddress(), name);
}

FakeNotificationDaemon::FakeNotificationDaemon(QString connectionName)
    : m_connectionName(std::move(connectionName))
{
}

FakeNotificationDaemon::~FakeNotificationDaemon()
{
    disappear();
}

void FakeNotificationDaemon::appear()
{
    QDBusConnection bus = connectToTestBus(m_connectionName);
    if (!bus.registerVirtualObject(kPath, this) || !bus.registerService(kService))
        qFatal("the fake notification daemon could not take its place on the bus");
    m_isThere = true;
}

void FakeNotificationDaemon::disappear()
{
    if (!std::exchange(m_isThere, false))
        return;
    QDBusConnection(m_connectionName).unregisterObject(kPath);
    QDBusConnection::disconnectFromBus(m_connectionName);
}

QString FakeNotificationDaemon::uniqueName() const
{
    return QDBusConnection(m_connectionName).baseService();
}

void FakeNotificationDaemon::emitSignal(const QString &name, const QVariantList &arguments)
{
    QDBusMessage signal = QDBusMessage::createSignal(kPath, kService, name);
    signal.setArguments(arguments);
    QDBusConnection(m_connectionName).send(signal);
}

bool FakeNotificationDaemon::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    message.setDelayedReply(true);
    if (isHanging)
        return true;
    if (message.member() == QLatin1String("GetCapabilities")) {
        ++capabilityQuestions;
        connection.send(message.createReply(capabilities));
    } else if (message.member() == QLatin1String("GetServerInformation")) {
        connection.send(
            message.createReply({information.at(0), information.at(1), information.at(2), information.at(3)}));
    } else if (message.member() == QLatin1String("Notify")) {
        answerNotify(message, connection);
    } else if (message.member() == QLatin1String("CloseNotification")) {
        closed.append(message.arguments().value(0).toUInt());
        connection.send(message.createReply());
    }
    return true;
}

void FakeNotificationDaemon::answerNotify(const QDBusMessage &message, const QDBusConnection &connection)
{
    notified.append(message.arguments());
    notifySignatures.append(message.signature());
    const uint replaced = message.arguments().value(1).toUInt();
    if (!errorOfNotify.isEmpty())
        connection.send(message.createErrorReply(errorOfNotify, QStringLiteral("words of the server")));
    else if (answersWithText)
        connection.send(message.createReply(QStringLiteral("1")));
    else
        connection.send(message.createReply(replaced == 0 ? ++m_lastNumber : replaced));
}

} // namespace velmora::testing
