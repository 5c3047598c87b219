// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>

namespace velmora
{

/// Throws the matching NotificationError unless the answer is a reply with this signature.
void requireServerReply(const QDBusMessage &answer, const QString &signature);

/// Throws NoServer unless the name has an owner or can be started. Starts nothing.
[[nodiscard]] QCoro::Task<> requireBusName(QDBusConnection bus, QString name, QDeadlineTimer deadline);

} // namespace velmora
