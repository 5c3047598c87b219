// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QString>

#include <stop_token>

namespace velmora
{

/// A connection to the session bus, and how it went.
struct SessionBus {
    QDBusConnection connection; ///< not connected where no bus answers
    QString state; ///< in words: "present", "none" or "does not answer"
};

/// Connects to the session bus without blocking. Without a bus, or an answer before the deadline, the connection is not
/// connected. Throws a CancellationError when the stop is requested. Call it at most once per process.
[[nodiscard]] QCoro::Task<SessionBus> connectSessionBus(QDeadlineTimer deadline, std::stop_token stop);

} // namespace velmora
