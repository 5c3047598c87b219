// SPDX-License-Identifier: MIT
#include "dbus/bus_call.h"

#include "dbus/bus_error.h"
#include "support/cancel_on_stop.h"
#include "support/task_scope.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QScopedPointer>

#include <algorithm>
#include <limits>

namespace velmora
{

namespace
{

/// The timeout for D-Bus. It takes 0 and less as its default, and the largest int as no timeout.
int millisecondsUntil(const QDeadlineTimer &deadline)
{
    constexpr int kUnbounded = std::numeric_limits<int>::max();
    return deadline.isForever() ? kUnbounded
                                : static_cast<int>(std::clamp<qint64>(deadline.remainingTime(), 1, kUnbounded - 1));
}

} // namespace

QDBusMessage BusObject::call(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(name, path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return message;
}

QDBusMessage BusObject::get(const QString &property) const
{
    const BusObject properties{name, path, QStringLiteral("org.freedesktop.DBus.Properties")};
    return properties.call(QStringLiteral("Get"), {interface, property});
}

BusObject theBus()
{
    const QString name = QStringLiteral("org.freedesktop.DBus");
    return {name, QStringLiteral("/org/freedesktop/DBus"), name};
}

QCoro::Task<QDBusMessage> callBus(
    QDBusConnection bus, QDBusMessage message, QDeadlineTimer deadline, std::stop_token stop)
{
    throwIfStopped(stop);
    const QDBusPendingCall call = bus.asyncCall(message, millisecondsUntil(deadline));
    // Without a connection the call has failed already, and a watcher would not report it.
    if (call.isFinished())
        co_return call.reply();
    const OneShot<QDBusMessage> answer;
    // Delete the watcher later, since the waiter resumes inside its finished() signal. The pointer also deletes it
    // after a stop, when the answer may never come.
    const QScopedPointer<QDBusPendingCallWatcher, QScopedPointerDeleteLater> watcher(new QDBusPendingCallWatcher(call));
    QObject::connect(watcher.data(), &QDBusPendingCallWatcher::finished, watcher.data(),
        [answer](QDBusPendingCallWatcher *finished) { answer.resolve(finished->reply()); });
    const CancelOnStop cancel(answer, stop);
    auto result = co_await answer;
    co_return result;
}

QVariant propertyIn(const QDBusMessage &answer)
{
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("v"))
        return QVariant();
    return answer.arguments().constFirst().value<QDBusVariant>().variant();
}

QCoro::Task<QString> ownerOf(QDBusConnection bus, QString name, QDeadlineTimer deadline, std::stop_token stop)
{
    const QDBusMessage question = theBus().call(QStringLiteral("GetNameOwner"), QVariantList(1, name));
    const QDBusMessage answer = co_await callBus(bus, question, deadline, stop);
    if (BusError(answer).kind() == BusError::Kind::NoOwner)
        co_return QString();
    requireReply(answer, QStringLiteral("s"));
    co_return answer.arguments().constFirst().toString();
}

QCoro::Task<QStringList> startableNames(QDBusConnection bus, QDeadlineTimer deadline)
{
    const QDBusMessage question = theBus().call(QStringLiteral("ListActivatableNames"));
    const QDBusMessage answer = co_await callBus(bus, question, deadline);
    requireReply(answer, QStringLiteral("as"));
    co_return answer.arguments().constFirst().toStringList();
}

QString applicationPath(const QString &name)
{
    return QLatin1Char('/') + QString(name).replace(QLatin1Char('.'), QLatin1Char('/'));
}

} // namespace velmora
