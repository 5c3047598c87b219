// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>

namespace velmora
{

/// Sends the call and returns the answer, be it a reply or an error, at the deadline at the latest. Never blocks,
/// and needs nobody to live on but the application object.
[[nodiscard]] QCoro::Task<QDBusMessage> callBus(QDBusConnection bus, QDBusMessage message, QDeadlineTimer deadline);

/// Throws the NotificationError that an answer stands for, unless it is a reply of this signature.
void requireReply(const QDBusMessage &answer, const QString &signature);

/// Ends when the name has an owner or can be started, and throws NoServer otherwise. Starts nothing.
[[nodiscard]] QCoro::Task<> requireBusName(QDBusConnection bus, QString name, QDeadlineTimer deadline);

} // namespace velmora
