// SPDX-License-Identifier: MIT
#pragma once

#include "platform/glib_network_watch.h"
#include "platform/logind_sleep_watch.h"

namespace velmora
{

class WakeWatch;

/// Reports this machine's sleep and network to a watch.
class WakeSources
{
public:
    /// logind is heard on `systemBus`, which the sources disconnect at their end. The watch is not owned and outlives
    /// the sources.
    WakeSources(const QDBusConnection &systemBus, WakeWatch *watch);
    ~WakeSources();
    WakeSources(const WakeSources &) = delete;
    WakeSources &operator=(const WakeSources &) = delete;

private:
    QDBusConnection m_systemBus;
    LogindSleepWatch m_sleep;
    GLibNetworkWatch m_network;
};

} // namespace velmora
