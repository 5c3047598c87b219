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
    /// logind is heard on `systemBus`. The watch is not owned and outlives the sources.
    WakeSources(const QDBusConnection &systemBus, WakeWatch *watch);

private:
    LogindSleepWatch m_sleep;
    GLibNetworkWatch m_network;
};

} // namespace velmora
