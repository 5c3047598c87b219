// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <stop_token>

namespace velmora
{

/// While it lives, requests a stop when a caller leaves the bus, so that no work is done for an answer that nothing
/// reads. The stop is requested from the event loop.
class CallerWatch
{
public:
    /// `caller` is the unique name of the program. A caller that has already left is noticed, too.
    CallerWatch(const QDBusConnection &bus, const QString &caller, std::stop_source stop);

private:
    QDBusServiceWatcher m_watcher;
};

} // namespace velmora
