// SPDX-License-Identifier: MIT
#include "notifications/linux/bus_call.h"

#include "notifications/notification_error.h"
#include "support/one_shot.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>

#include <algorithm>
#include <limits>

namespace velmora
{

namespace
{

constexpr auto kBusName = "org.freedesktop.DBus";

/// D-Bus takes 0 and less for "no bound given".
int millisecondsUntil(const QDeadlineTimer &deadline)
{
    return static_cast<int>(std::clamp<qint64>(deadline.remainingTime(), 1, std::numeric_limits<int>::max()));
}

NotificationError errorFor(const QDBusMessage &answer)
{
    using enum NotificationError::Kind;
    const QDBusError error(answer);
    switch (error.type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return NotificationError(TimedOut);
    case QDBusError::ServiceUnknown:
    case QDBusError::Disconnected:
    case QDBusError::NoServer:
        return NotificationError(NoServer);
    default:
        break;
    }
    const QString name = answer.errorName();
    // Started by name, but it did not come up.
    if (name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")
        || name.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn.")))
        return NotificationError(NoServer);
    return NotificationError(Failed, name);
}

QDBusMessage callOfTheBus(const QString &method)
{
    const QString name = QString::fromLatin1(kBusName);
    return QDBusMessage::createMethodCall(name, QStringLiteral("/org/freedesktop/DBus"), name, method);
}

} // namespace

QCoro::Task<QDBusMessage> callBus(QDBusConnection bus, QDBusMessage message, QDeadlineTimer deadline)
{
    const QDBusPendingCall call = bus.asyncCall(message, millisecondsUntil(deadline));
    // Without a connection it has failed already, and a watcher would stay silent.
    if (call.isFinished())
        co_return call.reply();
    const OneShot<QDBusMessage> answer;
    auto *const watcher = new QDBusPendingCallWatcher(call);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [answer](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        answer.resolve(finished->reply());
    });
    auto result = co_await answer;
    co_return result;
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
