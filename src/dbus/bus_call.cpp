// SPDX-License-Identifier: MIT
#include "dbus/bus_call.h"

#include "support/cancel_on_stop.h"
#include "support/task_scope.h"

#include <QDBusPendingCallWatcher>
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

QString applicationPath(const QString &name)
{
    return QLatin1Char('/') + QString(name).replace(QLatin1Char('.'), QLatin1Char('/'));
}

QDBusMessage callOfTheBus(const QString &method)
{
    const QString name = QStringLiteral("org.freedesktop.DBus");
    return QDBusMessage::createMethodCall(name, QStringLiteral("/org/freedesktop/DBus"), name, method);
}

} // namespace velmora
