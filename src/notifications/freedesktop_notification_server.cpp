// SPDX-License-Identifier: MIT
#include "notifications/freedesktop_notification_server.h"

#include "dbus/bus_call.h"
#include "dbus/bus_error.h"
#include "notifications/notification_error.h"
#include "notifications/server_reply.h"

#include <QDBusServiceWatcher>
#include <QPointer>
#include <QVariantMap>

namespace velmora
{

namespace
{

QString objectPath()
{
    return QStringLiteral("/org/freedesktop/Notifications");
}

QString viewLogAction()
{
    return QStringLiteral("view-log");
}

QString muteAction()
{
    return QStringLiteral("mute");
}

QDBusMessage callTo(const QString &server, const QString &method)
{
    return QDBusMessage::createMethodCall(server, objectPath(), FreedesktopNotificationServer::serviceName(), method);
}

/// The slash separates the parts, since no bus name contains one.
QString handleFor(const QString &server, uint number)
{
    return server + QLatin1Char('/') + QString::number(number);
}

uint numberOf(const QString &handle)
{
    return handle.section(QLatin1Char('/'), 1).toUInt();
}

QString serverOf(const QString &handle)
{
    return handle.section(QLatin1Char('/'), 0, 0);
}

/// The first two open the same: some servers show no buttons, others show the default action as a button.
QStringList actionsFor(const NotificationRequest &request)
{
    QStringList actions;
    if (!request.openLabel.isEmpty())
        actions << QStringLiteral("default") << QStringLiteral("Open") << viewLogAction() << request.openLabel;
    if (!request.muteLabel.isEmpty())
        actions << muteAction() << request.muteLabel;
    return actions;
}

} // namespace

QString FreedesktopNotificationServer::serviceName()
{
    return QStringLiteral("org.freedesktop.Notifications");
}

FreedesktopNotificationServer::FreedesktopNotificationServer(QDBusConnection bus, QString appName, QString desktopEntry)
    : m_bus(std::move(bus))
    , m_appName(std::move(appName))
    , m_desktopEntry(std::move(desktopEntry))
{
    auto *const watcher = new QDBusServiceWatcher(serviceName(), m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] {
        m_capabilities.reset();
        Q_EMIT serverGone();
    });
    listenTo(QStringLiteral("NotificationClosed"), SLOT(receiveClosed(QDBusMessage)));
    listenTo(QStringLiteral("ActivationToken"), SLOT(receiveActivationToken(QDBusMessage)));
    listenTo(QStringLiteral("ActionInvoked"), SLOT(receiveAction(QDBusMessage)));
}

void FreedesktopNotificationServer::listenTo(const QString &signal, const char *slot)
{
    // Accept any sender: with a service name Qt would block to ask for its owner. The sender is part of the handle, so
    // signals of other programs match no notification of Velmora.
    m_bus.connect(QString(), objectPath(), serviceName(), signal, this, slot);
}

QCoro::Task<> FreedesktopNotificationServer::requireServer(QDeadlineTimer deadline)
{
    return requireBusName(m_bus, serviceName(), deadline);
}

QCoro::Task<NotificationCapabilities> FreedesktopNotificationServer::capabilities(QDeadlineTimer deadline)
{
    if (m_capabilities) {
        const NotificationCapabilities known = *m_capabilities;
        co_return known;
    }
    const QPointer<FreedesktopNotificationServer> self(this);
    const QDBusMessage call = callTo(serviceName(), QStringLiteral("GetCapabilities"));
    const auto answer = co_await callBus(m_bus, call, deadline);
    requireServerReply(answer, QStringLiteral("as"));
    const QStringList words = answer.arguments().constFirst().toStringList();
    const NotificationCapabilities found{
        .server = answer.service(),
        .interpretsMarkup = words.contains(QLatin1String("body-markup")),
        .hasActions = words.contains(QLatin1String("actions")),
        .playsSounds = words.contains(QLatin1String("sound")),
    };
    if (self)
        m_capabilities = found;
    co_return found;
}

QCoro::Task<QString> FreedesktopNotificationServer::post(NotificationRequest request, QDeadlineTimer deadline)
{
    const QPointer<FreedesktopNotificationServer> self(this);
    const QDBusMessage call = notifyCall(request);
    const auto answer = co_await callBus(m_bus, call, deadline);
    const BusError::Kind failure = BusError(answer).kind();
    const bool isGone = failure == BusError::Kind::NoOwner;
    if (self && (isGone || failure == BusError::Kind::NoAnswer))
        m_capabilities.reset();
    if (isGone)
        throw NotificationError(NotificationError::Kind::ServerChanged);
    requireServerReply(answer, QStringLiteral("u"));
    co_return handleFor(request.server, answer.arguments().constFirst().toUInt());
}

QDBusMessage FreedesktopNotificationServer::notifyCall(const NotificationRequest &request) const
{
    // On another server the number could belong to another program's notification.
    const bool isReplaceable = serverOf(request.replacedHandle) == request.server;
    const uint replaced = isReplaceable ? numberOf(request.replacedHandle) : 0U;
    QVariantMap hints{
        {QStringLiteral("desktop-entry"), m_desktopEntry},
        // The protocol requires a byte, and some servers ignore other types.
        {QStringLiteral("urgency"), QVariant::fromValue(static_cast<uchar>(request.urgency))},
        {QStringLiteral("category"), request.category},
    };
    if (request.playsSound)
        hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
    if (request.suppressesSound)
        hints.insert(QStringLiteral("suppress-sound"), true);
    constexpr int kServersOwnDuration = -1;
    QDBusMessage call = callTo(request.server, QStringLiteral("Notify"));
    call << m_appName << replaced << m_desktopEntry << request.summary << request.body << actionsFor(request) << hints
         << kServersOwnDuration;
    return call;
}

void FreedesktopNotificationServer::withdraw(const QString &handle)
{
    QDBusMessage call = callTo(serverOf(handle), QStringLiteral("CloseNotification"));
    call << numberOf(handle);
    m_bus.send(call);
}

void FreedesktopNotificationServer::receiveClosed(const QDBusMessage &message)
{
    if (message.signature() != QLatin1String("uu"))
        return;
    const QVariantList arguments = message.arguments();
    const uint word = arguments.at(1).toUInt();
    // Later versions of the protocol may add reasons, but none that means "expired".
    const auto reason
        = word >= 1 && word <= 3 ? static_cast<NotificationCloseReason>(word) : NotificationCloseReason::Unknown;
    Q_EMIT closed(handleFor(message.service(), arguments.at(0).toUInt()), reason);
}

void FreedesktopNotificationServer::receiveActivationToken(const QDBusMessage &message)
{
    if (message.signature() != QLatin1String("us"))
        return;
    const QVariantList arguments = message.arguments();
    Q_EMIT activationTokenReceived(handleFor(message.service(), arguments.at(0).toUInt()), arguments.at(1).toString());
}

void FreedesktopNotificationServer::receiveAction(const QDBusMessage &message)
{
    if (message.signature() != QLatin1String("us"))
        return;
    const QVariantList arguments = message.arguments();
    const QString action = arguments.at(1).toString();
    const QString handle = handleFor(message.service(), arguments.at(0).toUInt());
    if (action == QLatin1String("default") || action == viewLogAction())
        Q_EMIT activated(handle, NotificationAction::Open);
    else if (action == muteAction())
        Q_EMIT activated(handle, NotificationAction::Mute);
}

} // namespace velmora
