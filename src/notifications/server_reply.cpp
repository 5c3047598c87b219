// SPDX-License-Identifier: MIT
#include "notifications/server_reply.h"

#include "dbus/bus_call.h"
#include "dbus/bus_error.h"
#include "notifications/notification_error.h"

namespace velmora
{

namespace
{

NotificationError errorFor(const BusError &error)
{
    using Kind = NotificationError::Kind;
    switch (error.kind()) {
    case BusError::Kind::NoBus:
    case BusError::Kind::NoOwner:
    case BusError::Kind::NotStarted:
        return NotificationError(Kind::NoServer);
    case BusError::Kind::NoAnswer:
        return NotificationError(Kind::TimedOut);
    case BusError::Kind::Unknown:
    case BusError::Kind::Refused:
        break;
    }
    return NotificationError(Kind::Failed, error.name());
}

} // namespace

void requireServerReply(const QDBusMessage &answer, const QString &signature)
{
    try {
        requireReply(answer, signature);
    } catch (const BusError &error) {
        throw errorFor(error);
    }
}

QCoro::Task<> requireBusName(QDBusConnection bus, QString name, QDeadlineTimer deadline)
{
    try {
        const QString owner = co_await ownerOf(bus, name, deadline);
        if (!owner.isEmpty())
            co_return;
        const QStringList startable = co_await startableNames(bus, deadline);
        if (startable.contains(name))
            co_return;
    } catch (const BusError &error) {
        throw errorFor(error);
    }
    throw NotificationError(NotificationError::Kind::NoServer);
}

} // namespace velmora
