// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/probe.h"
#include "http/http_session.h"
#include "http/proxy_lookup.h"
#include "support/clock.h"

#include <QUrl>

#include <memory>

namespace velmora
{

/// The services of the network probes. The clock is not owned and outlives the probes.
struct NetworkProbeServices {
    std::shared_ptr<HTTPSession> session;
    std::shared_ptr<const ProxyLookup> proxies;
    Clock *clock = nullptr;
};

/// The probed addresses. Requests carry no token and have no effect.
struct ProbedEndpoints {
    QUrl api;
    QUrl graphql; ///< empty: a path below the API
    QUrl login;
    QByteArray apiVersion;
};

/// Probes of the proxy, REST (with server and clock), GraphQL and the login pages.
[[nodiscard]] QList<Probe> endpointProbes(const NetworkProbeServices &services, const ProbedEndpoints &endpoints);

} // namespace velmora
