// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/probe.h"

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
    QString state; ///< for the report: "present", or a word for why it is not
};

/// Connects to the session bus without blocking; called at most once per process. Without an answer within `patience`,
/// as without a bus, the connection is not connected. Throws a CancellationError when the stop is requested.
[[nodiscard]] QCoro::Task<SessionBus> connectSessionBus(std::chrono::milliseconds patience, std::stop_token stop);

/// Whether somebody owns the name of the keyring; false where the bus does not say so within `patience`. Starts none.
/// Throws a CancellationError when the stop is requested.
[[nodiscard]] QCoro::Task<bool> isKeyringRunning(
    QDBusConnection bus, std::chrono::milliseconds patience, std::stop_token stop);

/// The questions to the session: tray host, notifications, keyring, whether Velmora runs. Nothing is started, unlocked
/// or shown by asking. `bus` is connected.
[[nodiscard]] QList<Probe> desktopProbes(const QDBusConnection &bus, bool isInsideFlatpak);

} // namespace velmora
