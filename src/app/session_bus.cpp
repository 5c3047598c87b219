// SPDX-License-Identifier: MIT
#include "app/session_bus.h"

#include "support/background.h"
#include "support/task_scope.h"
#include "support/with_deadline.h"

namespace velmora
{

QCoro::Task<SessionBus> connectSessionBus(QDeadlineTimer deadline, std::stop_token stop)
{
    throwIfStopped(stop);
    auto connect = [] {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("velmora"));
    };
    const auto connecting = startInBackground(patientPool(), std::move(connect));
    const std::optional<QDBusConnection> bus = co_await withDeadline(connecting, deadline, stop);
    if (!bus)
        co_return SessionBus{QDBusConnection(QString()), QStringLiteral("does not answer")};
    co_return SessionBus{*bus, bus->isConnected() ? QStringLiteral("present") : QStringLiteral("none")};
}

} // namespace velmora
