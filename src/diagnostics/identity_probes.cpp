// SPDX-License-Identifier: MIT
#include "diagnostics/identity_probes.h"

#include "accounts/credential_fingerprint.h"
#include "accounts/ended_sessions.h"
#include "github/github_requests.h"

namespace velmora
{

namespace
{

QString limitsText(const HTTPResponse &response, Instant now)
{
    const int status = response.statusCode.value_or(0);
    if (status == 404)
        return QStringLiteral("no rate limits");
    QString text = rateLimitsText(response.body, now);
    if (status != 200 || text.isEmpty())
        return QStringLiteral("no rate limits told (HTTP %1)").arg(status);
    return text;
}

bool isBeyondRenewal(const GitHubCredential &credential, Instant now)
{
    return !credential.refreshToken || (credential.refreshTokenExpiresAt && *credential.refreshTokenExpiresAt <= now);
}

/// Why the account must be connected again; empty if it need not be. `replaced` is the credential that an unfinished
/// renewal has used up.
QString reconnectReason(const IdentityProbeServices &services, qint64 accountID,
    const std::optional<GitHubCredential> &credential, const QByteArray &replaced)
{
    if (!credential)
        return QStringLiteral("the keyring has no token");
    if (EndedSessions::isNamed(services.endedSessions, accountID, *credential))
        return QStringLiteral("GitHub has refused its token for good");
    if (replaced == fingerprint(*credential))
        return QStringLiteral("a program was ended while it renewed the token");
    const Instant now = services.network.clock->now();
    const bool hasExpired = credential->expiresAt && *credential->expiresAt <= now;
    if (hasExpired && isBeyondRenewal(*credential, now))
        return QStringLiteral("the token has expired and cannot be renewed");
    return QString();
}

/// What the session of the account waits for before its token can be used; empty for nothing. Counts the account.
QString obstacle(const IdentityProbeServices &services, qint64 accountID,
    const std::optional<GitHubCredential> &credential, IdentityCounts *counts)
{
    const auto turn = lookAtTurn(services.locks, accountID);
    const QString reason = reconnectReason(services, accountID, credential, turn.replaced);
    if (!reason.isEmpty()) {
        ++counts->toReconnect;
        return QStringLiteral("to be connected again: ") + reason;
    }
    ++counts->connected;
    if (turn.isTaken)
        return QStringLiteral("another Velmora program is renewing its token, or is stopped while it does");
    if (credential->expiresAt && *credential->expiresAt <= services.network.clock->now())
        return QStringLiteral("the token has expired; it is renewed when it is used next");
    return QString();
}

QCoro::Task<HTTPResponse> askForLimits(IdentityProbeServices services, QString accessToken, std::stop_token stop)
{
    HTTPRequest request;
    request.url = appendingPath(services.endpoints.api, QStringLiteral("rate_limit"));
    request.headers = {{"Authorization", bearer(accessToken)}, {"Accept", "application/vnd.github+json"},
        {"X-GitHub-Api-Version", services.endpoints.apiVersion}};
    HTTPResponse response = co_await services.network.session->send(std::move(request), stop);
    co_return response;
}

/// The rate limits of the account, or why they cannot be asked for. Never renews a token, so AuthorizedRequests is of
/// no use here.
QCoro::Task<QString> limitsOf(
    IdentityProbeServices services, qint64 accountID, std::shared_ptr<IdentityCounts> counts, std::stop_token stop)
{
    auto credential = co_await services.credentials->load(accountID);
    const QString reason = obstacle(services, accountID, credential, counts.get());
    if (!reason.isEmpty())
        co_return QString(reason);
    HTTPResponse response = co_await askForLimits(services, credential->accessToken, stop);
    if (response.statusCode == 401) {
        // Another program may have renewed the token meanwhile.
        const QString refused = credential->accessToken;
        credential = co_await services.credentials->load(accountID);
        if (credential && credential->accessToken != refused)
            response = co_await askForLimits(services, credential->accessToken, stop);
    }
    if (response.statusCode == 401)
        co_return QStringLiteral("GitHub refuses its token (HTTP 401); it is renewed when it is used next, and if that "
                                 "fails, it is to be connected again");
    co_return limitsText(response, services.network.clock->now());
}

} // namespace

QList<Probe> identityProbes(
    const IdentityProbeServices &services, const QList<qint64> &accountIDs, std::shared_ptr<IdentityCounts> counts)
{
    QList<Probe> probes;
    for (const qint64 accountID : accountIDs) {
        const QString label = QStringLiteral("identity %1").arg(probes.size() + 1);
        probes.append(oneLine(
            label, [=](std::stop_token stop) { return limitsOf(services, accountID, counts, std::move(stop)); }));
    }
    return probes;
}

} // namespace velmora
