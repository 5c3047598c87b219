// SPDX-License-Identifier: MIT
#include "diagnostics/identity_probes.h"

#include "accounts/authorized_requests.h"
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
    const QString text = rateLimitsText(response.body, now);
    if (status != 200 || text.isEmpty())
        return QStringLiteral("no rate limits told (HTTP %1)").arg(status);
    return text;
}

/// The session needs its user, or its next use, before it can ask for limits. The reason is shown instead of them.
class WaitingSession final : public Error
{
public:
    explicit WaitingSession(QString reason)
        : m_reason(std::move(reason))
    {
    }
    [[nodiscard]] QString description() const override { return m_reason; }

private:
    QString m_reason;
};

/// Reads the stored credentials and never renews them.
class StoredCredentials final : public CredentialSource
{
public:
    StoredCredentials(IdentityProbeServices services, std::shared_ptr<IdentityCounts> counts)
        : m_services(std::move(services))
        , m_counts(std::move(counts))
    {
    }

    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(
        qint64 accountID, [[maybe_unused]] std::stop_token stop) override
    {
        return fit(m_services, m_counts, accountID);
    }

    [[nodiscard]] QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, [[maybe_unused]] std::stop_token stop) override
    {
        return newer(m_services, accountID, std::move(refusedToken));
    }

    void noteAccepted([[maybe_unused]] qint64 accountID, [[maybe_unused]] const QString &accessToken) override { }

    /// Each account is asked once, so no lock is needed.
    [[nodiscard]] AsyncMutex requestTurn([[maybe_unused]] qint64 accountID) override { return {}; }

private:
    static QCoro::Task<GitHubCredential> fit(
        IdentityProbeServices services, std::shared_ptr<IdentityCounts> counts, qint64 accountID)
    {
        const auto credential = co_await services.credentials->load(accountID);
        const Instant now = services.network.clock->now();
        if (!credential || EndedSessions::isNamed(services.endedSessions, accountID, *credential)) {
            ++counts->toReconnect;
            throw WaitingSession(credential
                    ? QStringLiteral("to be connected again: GitHub has refused its token for good")
                    : QStringLiteral("to be connected again: the keyring has no token"));
        }
        const auto turn = lookAtTurn(services.locks, accountID);
        if (turn.replaced == fingerprint(*credential)) {
            ++counts->toReconnect;
            throw WaitingSession(
                QStringLiteral("to be connected again: a program was ended while it renewed the token"));
        }
        const bool hasExpired = credential->expiresAt && *credential->expiresAt <= now;
        if (hasExpired && isBeyondRenewal(*credential, now)) {
            ++counts->toReconnect;
            throw WaitingSession(QStringLiteral("to be connected again: the token has expired and cannot be renewed"));
        }
        ++counts->connected;
        if (turn.isTaken)
            throw WaitingSession(
                QStringLiteral("another Velmora program is renewing its token, or is stopped while it does"));
        if (hasExpired)
            throw WaitingSession(QStringLiteral("the token has expired; it is renewed when it is used next"));
        co_return GitHubCredential(*credential);
    }

    static QCoro::Task<GitHubCredential> newer(IdentityProbeServices services, qint64 accountID, QString refusedToken)
    {
        const auto credential = co_await services.credentials->load(accountID);
        if (!credential || credential->accessToken == refusedToken)
            throw WaitingSession(QStringLiteral("GitHub refuses its token (HTTP 401); it is renewed when it is used "
                                                "next, and if that fails, it is to be connected again"));
        co_return GitHubCredential(*credential);
    }

    static bool isBeyondRenewal(const GitHubCredential &credential, Instant now)
    {
        return !credential.refreshToken
            || (credential.refreshTokenExpiresAt && *credential.refreshTokenExpiresAt <= now);
    }

    IdentityProbeServices m_services;
    std::shared_ptr<IdentityCounts> m_counts;
};

QCoro::Task<HTTPResponse> askForLimits(IdentityProbeServices services, QString accessToken, std::stop_token stop)
{
    HTTPRequest request;
    request.url = appendingPath(services.endpoints.api, QStringLiteral("rate_limit"));
    request.headers = {{"Authorization", bearer(accessToken)}, {"Accept", "application/vnd.github+json"},
        {"X-GitHub-Api-Version", services.endpoints.apiVersion}};
    HTTPResponse response = co_await services.network.session->send(std::move(request), stop);
    if (response.statusCode == 401)
        throw GitHubClientError::requestFailed(401);
    co_return response;
}

QCoro::Task<QList<Finding>> askIdentity(IdentityProbeServices services, qint64 accountID, QString label,
    std::shared_ptr<IdentityCounts> counts, std::stop_token stop)
{
    AuthorizedRequests requests(std::make_shared<StoredCredentials>(services, counts), accountID, stop);
    const std::function<QCoro::Task<HTTPResponse>(QString)> ask = [=](const QString &accessToken) {
        return askForLimits(services, accessToken, stop);
    };
    QList<Finding> findings{Finding{label, QString()}};
    try {
        const auto response = co_await requests.send(ask);
        findings.first().text = limitsText(response, services.network.clock->now());
    } catch (const WaitingSession &session) {
        findings.first().text = session.description();
    }
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
