// SPDX-License-Identifier: MIT
#include "notifications/server_reply.h"

#include "dbus/bus_call.h"
#include "notifications/notification_error.h"

#include <QDBusError>

namespace velmora
{

namespace
{

NotificationError errorFor(const QDBusMessage &answer)
{
    using enum NotificationError::Kind;
    if (isSilence(answer))
        return NotificationError(TimedOut);
    switch (QDBusError(answer).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::Disconnected:
    case QDBusError::NoServer:
        return NotificationError(NoServer);
    default:
        break;
    }
    const QString name = answer.errorName();
    // The bus could not start the service.
    if (name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")
        || name.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn.")))
        return NotificationError(NoServer);
    return NotificationError(Failed, name);
}

} // namespace

bool isSilence(const QDBusMessage &answer)
{
    switch (QDBusError(answer).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return true;
    default:
        return false;
    }
}

void requireReply(const QDBusMessage &answer, const QString &signature)
{
    if (answer.type() != QDBusMessage::ReplyMessage)
        throw errorFor(answer);
    if (answer.signature() != signature)
        throw NotificationError(NotificationError::Kind::Failed, QDBusError::errorString(QDBusError::InvalidSignature));
}

QCoro::Task<> requireBusName(QDBusConnection bus, QString name, QDeadlineTimer deadline)
{
    QDBusMessage hasOwner = callOfTheBus(QStringLiteral("NameHasOwner"));
    hasOwner << name;
    const auto owned = co_await callBus(bus, hasOwner, deadline);
    requireReply(owned, QStringLiteral("b"));
    if (owned.arguments().constFirst().toBool())
        co_return;
    const QDBusMessage listActivatable = callOfTheBus(QStringLiteral("ListActivatableNames"));
    const auto activatable = co_await callBus(bus, listActivatable, deadline);
    requireReply(activatable, QStringLiteral("as"));
    if (!activatable.arguments().constFirst().toStringList().contains(name))
        throw NotificationError(NotificationError::Kind::NoServer);
}

} // namespace velmora
