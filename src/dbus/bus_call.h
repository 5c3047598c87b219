// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>

#include <stop_token>

namespace velmora
{

/// Sends the call and returns the answer, a reply or an error, at the deadline at the latest. Never blocks. Needs only
/// the application object. A stop ends the wait with a CancellationError, but does not take the call back.
[[nodiscard]] QCoro::Task<QDBusMessage> callBus(
    QDBusConnection bus, QDBusMessage message, QDeadlineTimer deadline, std::stop_token stop = {});

/// The object path for an application with that dotted name, as desktops derive it.
[[nodiscard]] QString applicationPath(const QString &name);

/// A call to the bus itself.
[[nodiscard]] QDBusMessage callOfTheBus(const QString &method);

} // namespace velmora
