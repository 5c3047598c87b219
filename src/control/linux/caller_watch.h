// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <stop_token>

namespace velmora
{

/// While it lives, a stop is requested when a program leaves the bus: whoever asked for something and is gone waits for
/// no answer. The stop comes from the event loop.
class CallerWatch
{
public:
    /// `caller` is the program's unique name. One that has left already is noticed, too.
    CallerWatch(const QDBusConnection &bus, const QString &caller, std::stop_source stop);

private:
    QDBusServiceWatcher m_watcher;
};

} // namespace velmora
