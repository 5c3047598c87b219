// SPDX-License-Identifier: MIT
#include "dbus/bus_error.h"

#include <QDBusError>

namespace velmora
{

namespace
{

BusError::Kind kindOf(const QDBusMessage &answer)
{
    using enum BusError::Kind;
    switch (QDBusError(answer).type()) {
    case QDBusError::Disconnected:
    case QDBusError::NoServer:
        return NoBus;
    case QDBusError::ServiceUnknown:
        return NoOwner;
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return NoAnswer;
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
    case QDBusError::InvalidArgs:
    case QDBusError::InvalidSignature:
        return Unknown;
    default:
        break;
    }
    // Qt has no numbers for these.
    if (answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return NoOwner;
    return answer.errorName().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn.")) ? NotStarted : Refused;
}

} // namespace

BusError::BusError(const QDBusMessage &answer)
    : m_kind(kindOf(answer))
    , m_name(answer.type() == QDBusMessage::ErrorMessage ? answer.errorName()
                                                         : QDBusError::errorString(QDBusError::InvalidSignature))
{
}

QString BusError::description() const
{
    if (m_kind == Kind::NoAnswer)
        return QStringLiteral("The session bus, or a program on it, did not answer in time.");
    return QStringLiteral("The session bus, or a program on it, gave no usable answer.");
}

void requireReply(const QDBusMessage &answer, const QString &signature)
{
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != signature)
        throw BusError(answer);
}

} // namespace velmora
