// SPDX-License-Identifier: MIT
#include "control/caller_watch.h"

#include "dbus/bus_call.h"
#include "support/task_scope.h"

#include <QCoreApplication>

namespace velmora
{

namespace
{

/// The caller may have left before the watcher was set up.
QCoro::Task<> stopUnlessPresent(QDBusConnection bus, QString caller, std::stop_source stop)
{
    const QDeadlineTimer deadline(std::chrono::seconds(5));
    const QString owner = co_await ownerOf(bus, caller, deadline, stop.get_token());
    if (owner.isEmpty())
        stop.request_stop();
}

} // namespace

CallerWatch::CallerWatch(const QDBusConnection &bus, const QString &caller, std::stop_source stop)
    : m_watcher(caller, bus, QDBusServiceWatcher::WatchForUnregistration)
{
    // Queued, because the handlers of the stop may destroy this watch.
    auto leave = [stop](const QString &) mutable {
        stop.request_stop();
    };
    QObject::connect(&m_watcher, &QDBusServiceWatcher::serviceUnregistered, QCoreApplication::instance(), leave,
        Qt::QueuedConnection);
    launch(stopUnlessPresent(bus, caller, stop), "looking for a caller");
}

} // namespace velmora
