// SPDX-License-Identifier: MIT
#include "app/session_bus.h"

#include "diagnostics/patient_work.h"
#include "support/cancel_on_stop.h"
#include "support/task_scope.h"

#include <QTimer>

namespace velmora
{

QCoro::Task<SessionBus> connectSessionBus(std::chrono::milliseconds patience, std::stop_token stop)
{
    throwIfStopped(stop);
    const OneShot<SessionBus> done;
    const CancelOnStop<SessionBus> onStop(done, stop);
    QTimer timer;
    timer.setSingleShot(true);
    const auto giveUp = [done] {
        done.resolve(SessionBus{QDBusConnection(QString()), QStringLiteral("does not answer")});
    };
    QObject::connect(&timer, &QTimer::timeout, &timer, giveUp);
    timer.start(patience);
    const auto settle = [done](const QDBusConnection &bus) {
        done.resolve(SessionBus{bus, bus.isConnected() ? QStringLiteral("present") : QStringLiteral("none")});
    };
    auto work = [settle] {
        const auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("velmora"));
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [settle, bus] { settle(bus); }, Qt::QueuedConnection);
    };
    patientPool()->start(std::move(work));
    SessionBus bus = co_await done;
    co_return bus;
}

} // namespace velmora
