// SPDX-License-Identifier: MIT
#include "diagnostics/identity_probes.h"

#include "github/github_client_requests.h"

namespace velmora
{

namespace
{

QString limitsText(const HTTPResponse &response, Instant now)
{
    const int status = response.statusCode.value_or(0);
    if (status == 401)
        return QStringLiteral("GitHub refuses its token (HTTP 401)");
    if (status == 404)
        return QStringLiteral("no rate limits");
    const QString text = rateLimitsText(response.body, now);
    if (status != 200 || text.isEmpty())
        return QStringLiteral("no rate limits told (HTTP %1)").arg(status);
    return text;
}

QCoro::Task<QList<Finding>> askIdentity(IdentityProbeServices services, qint64 accountID, QString label,
    std::shared_ptr<IdentityCounts> counts, std::stop_token stop)
{
    QList<Finding> findings{Finding{label, QString()}};
    const auto credential = co_await services.credentials->load(accountID);
    if (!credential) {
        ++counts->toReconnect;
        findings.first().text = QStringLiteral("to be connected again: the keyring has no token");
        co_return findings;
    }
    ++counts->connected;
    const Instant now = services.network.clock->now();
    if (credential->expiresAt && *credential->expiresAt <= now) {
        findings.first().text = QStringLiteral("the token has expired; it is renewed when it is used next");
        co_return findings;
    }
    HTTPRequest request;
    request.url = appendingPath(services.endpoints.api, QStringLiteral("rate_limit"));
    request.headers = {{"Authorization", bearer(credential->accessToken)}, {"Accept", "application/vnd.github+json"},
        {"X-GitHub-Api-Version", services.endpoints.apiVersion}};
    const HTTPResponse response = co_await services.network.session->send(std::move(request), stop);
    findings.first().text = limitsText(response, now);
    co_return findings;
}

} // namespace

QList<Probe> identityProbes(
    const IdentityProbeServices &services, const QList<qint64> &accountIDs, std::shared_ptr<IdentityCounts> counts)
{
    QList<Probe> probes;
    for (const qint64 accountID : accountIDs) {
        const QString label = QStringLiteral("identity %1").arg(probes.size() + 1);
        probes.append(Probe{QStringLiteral("Accounts"), label, [=](std::stop_token stop) {
                                return askIdentity(services, accountID, label, counts, std::move(stop));
                            }});
    }
    return probes;
}

} // namespace velmora
