// SPDX-License-Identifier: MIT
#include "app/wake_sources.h"

#include "platform/wake_watch.h"
#include "support/task_scope.h"

namespace velmora
{

WakeSources::WakeSources(const QDBusConnection &systemBus, WakeWatch *watch)
    : m_systemBus(systemBus)
    , m_sleep(systemBus)
{
    QObject::connect(&m_sleep, &LogindSleepWatch::prepareForSleep, watch, &WakeWatch::prepareForSleep);
    QObject::connect(&m_network, &GLibNetworkWatch::networkChanged, watch, &WakeWatch::networkChanged);
    launch(m_network.start(), "Watching the network");
}

WakeSources::~WakeSources()
{
    QDBusConnection::disconnectFromBus(m_systemBus.name());
}

} // namespace velmora
