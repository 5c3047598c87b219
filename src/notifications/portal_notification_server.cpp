// SPDX-License-Identifier: MIT
#include "notifications/portal_notification_server.h"

#include "dbus/bus_call.h"
#include "dbus/bus_error.h"
#include "notifications/server_reply.h"

#include <QCryptographicHash>
#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QPointer>
#include <QVariantMap>

namespace velmora
{

namespace
{

QString objectPath()
{
    return QStringLiteral("/org/freedesktop/portal/desktop");
}

QString interfaceName()
{
    return QStringLiteral("org.freedesktop.portal.Notification");
}

QString openAction()
{
    return QStringLiteral("open");
}

QString muteAction()
{
    return QStringLiteral("mute");
}

QVariantMap button(const QString &label, const QString &action)
{
    return {{QStringLiteral("label"), label}, {QStringLiteral("action"), action}};
}

QDBusMessage callTo(const QString &method)
{
    return QDBusMessage::createMethodCall(
        PortalNotificationServer::serviceName(), objectPath(), interfaceName(), method);
}

/// A hash of the identifier, which comes from the network: the desktop gets names of a fixed form and length only.
QString nameFor(const QString &identifier)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(identifier.toUtf8(), QCryptographicHash::Sha256).toHex().first(32));
}

QString priorityOf(NotificationUrgency urgency)
{
    switch (urgency) {
    case NotificationUrgency::Low:
        return QStringLiteral("low");
    case NotificationUrgency::Normal:
        return QStringLiteral("normal");
    case NotificationUrgency::Critical:
        break;
    }
    return QStringLiteral("urgent");
}

QVariantMap propertiesOf(const NotificationRequest &request)
{
    QVariantMap properties{
        {QStringLiteral("title"), request.summary},
        {QStringLiteral("body"), request.body},
        {QStringLiteral("priority"), priorityOf(request.urgency)},
    };
    QList<QVariantMap> buttons;
    if (!request.openLabel.isEmpty()) {
        properties.insert(QStringLiteral("default-action"), openAction());
        buttons.append(button(request.openLabel, openAction()));
    }
    if (!request.muteLabel.isEmpty())
        buttons.append(button(request.muteLabel, muteAction()));
    if (!buttons.isEmpty())
        properties.insert(QStringLiteral("buttons"), QVariant::fromValue(buttons));
    if (request.playsSound)
        properties.insert(QStringLiteral("sound"), QStringLiteral("default"));
    if (request.suppressesSound)
        properties.insert(QStringLiteral("sound"), QStringLiteral("silent"));
    return properties;
}

/// The activation token that newer portals append to the parameters of the action; else empty.
QString activationTokenIn(const QVariantList &parameters)
{
    for (QVariant parameter : parameters) {
        if (parameter.metaType() == QMetaType::fromType<QDBusVariant>())
            parameter = parameter.value<QDBusVariant>().variant();
        const QVariantMap platform = qdbus_cast<QVariantMap>(parameter);
        QString token = platform.value(QStringLiteral("activation-token")).toString();
        if (!token.isEmpty())
            return token;
    }
    return {};
}

} // namespace

QString PortalNotificationServer::serviceName()
{
    return QStringLiteral("org.freedesktop.portal.Desktop");
}

PortalNotificationServer::PortalNotificationServer(QDBusConnection bus)
    : m_bus(std::move(bus))
{
    qDBusRegisterMetaType<QList<QVariantMap>>();
    // A restart of the portal keeps the notifications and their names, so it does not emit serverGone().
    auto *const watcher = new QDBusServiceWatcher(serviceName(), m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] { m_capabilities.reset(); });
    // Accept any sender: with a service name Qt would block to ask for its owner. A Flatpak lets no other program send.
    m_bus.connect(QString(), objectPath(), interfaceName(), QStringLiteral("ActionInvoked"), this,
        SLOT(receiveAction(QDBusMessage)));
}

QCoro::Task<> PortalNotificationServer::requireServer(QDeadlineTimer deadline)
{
    return requireBusName(m_bus, serviceName(), deadline);
}

QCoro::Task<NotificationCapabilities> PortalNotificationServer::capabilities(QDeadlineTimer deadline)
{
    if (m_capabilities) {
        const NotificationCapabilities known = *m_capabilities;
        co_return known;
    }
    const QPointer<PortalNotificationServer> self(this);
    const BusObject portal{serviceName(), objectPath(), interfaceName()};
    QDBusMessage call = portal.get(QStringLiteral("version"));
    call.setAutoStartService(true);
    const auto answer = co_await callBus(m_bus, call, deadline);
    requireServerReply(answer, QStringLiteral("v"));
    const uint version = propertyIn(answer).toUInt();
    constexpr uint kFirstWithSound = 2;
    const NotificationCapabilities found{
        .server = answer.service(),
        .interpretsMarkup = false,
        .hasActions = true,
        .playsSounds = version >= kFirstWithSound,
    };
    if (self)
        m_capabilities = found;
    co_return found;
}

QCoro::Task<QString> PortalNotificationServer::post(NotificationRequest request, QDeadlineTimer deadline)
{
    const QPointer<PortalNotificationServer> self(this);
    const QString name = nameFor(request.identifier);
    QDBusMessage call = callTo(QStringLiteral("AddNotification"));
    call << name << propertiesOf(request);
    const auto answer = co_await callBus(m_bus, call, deadline);
    if (self && BusError(answer).kind() == BusError::Kind::NoAnswer)
        m_capabilities.reset();
    requireServerReply(answer, QString());
    co_return name;
}

void PortalNotificationServer::withdraw(const QString &handle)
{
    QDBusMessage call = callTo(QStringLiteral("RemoveNotification"));
    call << handle;
    m_bus.send(call);
}

void PortalNotificationServer::receiveAction(const QDBusMessage &message)
{
    if (message.signature() != QLatin1String("ssav"))
        return;
    const QVariantList arguments = message.arguments();
    const QString action = arguments.at(1).toString();
    if (action != openAction() && action != muteAction())
        return;
    const QString handle = arguments.at(0).toString();
    const QString token = activationTokenIn(qdbus_cast<QVariantList>(arguments.at(2)));
    if (!token.isEmpty())
        Q_EMIT activationTokenReceived(handle, token);
    Q_EMIT activated(handle, action == muteAction() ? NotificationAction::Mute : NotificationAction::Open);
}

} // namespace velmora
