// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/probe.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDeadlineTimer>

#include <stop_token>

namespace velmora
{

/// Whether a keyring runs; false where the bus does not say so before the deadline. Starts none.
/// Throws a CancellationError when the stop is requested.
[[nodiscard]] QCoro::Task<bool> isKeyringRunning(QDBusConnection bus, QDeadlineTimer deadline, std::stop_token stop);

/// The questions to the session: tray host, notifications, keyring, whether Velmora runs. They start, unlock and show
/// nothing. `bus` is connected.
[[nodiscard]] QList<Probe> desktopProbes(const QDBusConnection &bus, bool isInsideFlatpak);

} // namespace velmora
