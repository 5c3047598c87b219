// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QString>

#include <chrono>
#include <stop_token>

namespace velmora
{

/// The session bus, as far as it can be reached.
struct SessionBus {
    QDBusConnection connection; ///< perhaps not connected
    QString state; ///< in words: "present", "none" or "does not answer"
};

/// Connects to the session bus without blocking; called at most once per process. Without an answer within `patience`,
/// as without a bus, the connection is not connected. Throws a CancellationError when the stop is requested.
[[nodiscard]] QCoro::Task<SessionBus> connectSessionBus(std::chrono::milliseconds patience, std::stop_token stop);

} // namespace velmora
