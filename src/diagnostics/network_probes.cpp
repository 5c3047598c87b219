// SPDX-License-Identifier: MIT
#include "diagnostics/network_probes.h"

#include "diagnostics/texts.h"
#include "github/github_requests.h"
#include "github/rate_limit_notice.h"

#include <QElapsedTimer>

namespace velmora
{

namespace
{

HTTPRequest anonymousRequest(const QUrl &url, const HTTPHeaders &headers = {})
{
    HTTPRequest request;
    request.url = url;
    request.headers = HTTPHeaders{{"Accept", "application/vnd.github+json"}} + headers;
    return request;
}

/// What the answer of the REST endpoint tells about server and clock.
QList<Finding> serverFindings(const HTTPResponse &response, const QByteArray &apiVersion, Instant answeredAt)
{
    const auto time = parseHTTPDate(response.header("date").value_or(QByteArray()));
    return {{QStringLiteral("server"), serverText(response.header("x-github-enterprise-version"), apiVersion)},
        {QStringLiteral("clock"), clockText(time, answeredAt)}};
}

/// With an API version the request goes to the REST endpoint, and server and clock are reported, too.
QCoro::Task<QList<Finding>> askEndpoint(NetworkProbeServices services, QString label, HTTPRequest request,
    std::optional<QByteArray> apiVersion, std::stop_token stop)
{
    QElapsedTimer timer;
    timer.start();
    const HTTPResponse response = co_await services.session->send(std::move(request), stop);
    const std::chrono::milliseconds duration(timer.elapsed());
    QList<Finding> findings{Finding{label, answerText(response.statusCode, duration)}};
    // Assume that the answer was under way for half of the time.
    if (apiVersion)
        findings.append(serverFindings(response, *apiVersion, services.clock->now() - duration / 2));
    co_return findings;
}

QCoro::Task<QString> askForProxy(std::shared_ptr<const ProxyLookup> proxies, QUrl url, std::stop_token stop)
{
    constexpr std::chrono::seconds kPatience(60); // longer than the deadline of the probes
    const Proxy proxy = co_await proxies->proxyFor(url, kPatience, stop);
    co_return proxyText(proxy);
}

Probe endpointProbe(const NetworkProbeServices &services, const QString &label, const HTTPRequest &request,
    const std::optional<QByteArray> &apiVersion = std::nullopt)
{
    return Probe{label, [=](std::stop_token stop) {
                     return askEndpoint(services, label, request, apiVersion, std::move(stop));
                 }};
}

} // namespace

QList<Probe> endpointProbes(const NetworkProbeServices &services, const ProbedEndpoints &endpoints)
{
    const HTTPRequest rest = anonymousRequest(appendingPath(endpoints.api, QStringLiteral("rate_limit")),
        HTTPHeaders{{"X-GitHub-Api-Version", endpoints.apiVersion}});
    const bool hasOwnGraphQL = !endpoints.graphql.isEmpty();
    HTTPRequest graphql
        = anonymousRequest(hasOwnGraphQL ? endpoints.graphql : appendingPath(endpoints.api, QStringLiteral("graphql")),
            HTTPHeaders{{"Content-Type", "application/json"}});
    graphql.method = "POST";
    graphql.body = "{}";
    const Probe proxy
        = oneLine(QStringLiteral("proxy"), [proxies = services.proxies, url = endpoints.api](std::stop_token stop) {
              return askForProxy(proxies, url, std::move(stop));
          });
    return {proxy, endpointProbe(services, QStringLiteral("REST"), rest, endpoints.apiVersion),
        endpointProbe(services, QStringLiteral("GraphQL"), graphql),
        endpointProbe(services, QStringLiteral("login"),
            anonymousRequest(appendingPath(endpoints.login, QStringLiteral("device"))))};
}

} // namespace velmora
