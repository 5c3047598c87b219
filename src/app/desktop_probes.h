// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/probe.h"

#include <QDBusConnection>

namespace velmora
{

/// Connects to the session bus without blocking, at most once per process. Without an answer within `patience`, as
/// without a bus, the connection is not connected; a word for why is left in `state`.
struct SessionBus {
    QDBusConnection connection;
    QString state;
};
[[nodiscard]] QCoro::Task<SessionBus> connectSessionBus(std::chrono::milliseconds patience, std::stop_token stop);

/// The questions to the session: tray host, notifications, keyring, whether Velmora runs. Nothing is started, unlocked
/// or shown by asking. `bus` is connected.
[[nodiscard]] QList<Probe> desktopProbes(const QDBusConnection &bus, bool isInsideFlatpak);

} // namespace velmora
