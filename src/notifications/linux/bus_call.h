// SPDX-License-Identifier: MIT
#pragma once

#include "platform/bus_call.h"

#include <QString>

namespace velmora
{

/// Whether there was no answer in time.
[[nodiscard]] bool isSilence(const QDBusMessage &answer);

/// Throws the NotificationError that an answer stands for, unless it is a reply of this signature.
void requireReply(const QDBusMessage &answer, const QString &signature);

/// Ends when the name has an owner or can be started, and throws NoServer otherwise. Starts nothing.
[[nodiscard]] QCoro::Task<> requireBusName(QDBusConnection bus, QString name, QDeadlineTimer deadline);

} // namespace velmora
