// SPDX-License-Identifier: MIT
#include "platform/network_connectivity.h"

#include <gio/gio.h>

namespace velmora
{

QString networkConnectivity()
{
    switch (g_network_monitor_get_connectivity(g_network_monitor_get_default())) {
    case G_NETWORK_CONNECTIVITY_LOCAL:
        return QStringLiteral("this machine only");
    case G_NETWORK_CONNECTIVITY_LIMITED:
        return QStringLiteral("limited");
    case G_NETWORK_CONNECTIVITY_PORTAL:
        return QStringLiteral("behind a portal");
    case G_NETWORK_CONNECTIVITY_FULL:
        return QStringLiteral("full");
    }
    return QStringLiteral("unknown");
}

} // namespace velmora
