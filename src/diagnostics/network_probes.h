// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/probe.h"
#include "github/http_session.h"
#include "github/proxy_lookup.h"
#include "support/clock.h"

#include <QUrl>

#include <memory>

namespace velmora
{

/// What the questions to the network need. The clock is not owned and outlives the probes.
struct NetworkProbeServices {
    std::shared_ptr<HTTPSession> session;
    std::shared_ptr<const ProxyLookup> proxies;
    Clock *clock = nullptr;
};

/// The addresses that are asked, each without a token and without an effect.
struct ProbedEndpoints {
    QUrl api;
    QUrl graphql; ///< empty: below the API
    QUrl login;
    QByteArray apiVersion;
};

/// The proxy, and how REST (with its server and its clock), GraphQL and the pages for connecting answer.
[[nodiscard]] QList<Probe> endpointProbes(const NetworkProbeServices &services, const ProbedEndpoints &endpoints);

} // namespace velmora
