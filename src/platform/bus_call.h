// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>

#include <stop_token>

namespace velmora
{

/// Sends the call and returns the answer, be it a reply or an error, at the deadline at the latest. Never blocks,
/// and needs nobody to live on but the application object. A stop ends the waiting with a CancellationError; the
/// call has been made.
[[nodiscard]] QCoro::Task<QDBusMessage> callBus(
    QDBusConnection bus, QDBusMessage message, QDeadlineTimer deadline, std::stop_token stop = {});

/// The object that stands for the application with that dotted name, as desktops look for it.
[[nodiscard]] QString applicationPath(const QString &name);

/// A call of the bus itself.
[[nodiscard]] QDBusMessage callOfTheBus(const QString &method);

} // namespace velmora
