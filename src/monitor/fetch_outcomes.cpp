// SPDX-License-Identifier: MIT
#include "monitor/fetch_outcomes.h"

#include "accounts/github_account.h"
#include "github/deployment_client_error.h"
#include "installations/installation_record.h"
#include "monitor/polling_loop.h"
#include "support/error.h"

#include <QStringList>

#include <algorithm>
#include <utility>

namespace velmora
{

namespace
{

bool isTransportError(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const TransportError &) {
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

FetchOutcomes::FetchOutcomes(std::shared_ptr<RateLimitLedger> rateLimits, const Clock *clock, const PollingLoop *loop,
    std::function<double()> random)
    : m_rateLimits(std::move(rateLimits))
    , m_clock(clock)
    , m_loop(loop)
    , m_health(std::move(random))
{
}

QSet<qint64> FetchOutcomes::askable(QSet<qint64> identities) const
{
    const Instant now = m_clock->now();
    identities.removeIf([&](qint64 id) { return m_health.isWaiting(id, now) || pausedUntil(id).has_value(); });
    return identities;
}

std::optional<Instant> FetchOutcomes::pausedUntil(qint64 identityID) const
{
    return m_rateLimits->pausedUntil(identityID, m_clock->now());
}

QString FetchOutcomes::message(const QList<GitHubAccountSession> &sessions) const
{
    QStringList lines;
    for (const auto &session : sessions) {
        const QString login = session.account.login + QLatin1String(": ");
        if (const auto failure = m_health.failure(session.id()))
            lines.append(login + *failure);
        for (const QString &line : m_unanswered.lines(session.id()))
            lines.append(login + line);
    }
    return lines.join(QLatin1Char('\n'));
}

void FetchOutcomes::recordAnswer(
    qint64 identityID, const QList<RepositoryRecord> &asked, const DeploymentFetchResult &result, RefreshScope scope)
{
    m_health.clearFailure(identityID);
    m_unanswered.record(asked, result.unanswered);
    m_pace.record(identityID, asked, result.rateLimit, scope, m_clock->now());
    m_rateLimits->recordSuccess(identityID, result.rateLimit, m_pace.nextCost(identityID), m_clock->now());
}

void FetchOutcomes::recordFailure(qint64 identityID, const std::exception_ptr &failure, const QString &explanation)
{
    if (const auto notice = rateLimitOf(failure)) {
        m_rateLimits->recordRefusal(identityID, *notice, m_clock->now());
        m_health.clearFailure(identityID);
        return;
    }
    if (!isBrokenOff(failure))
        m_health.recordFailure(identityID, explanation, m_clock->now());
}

bool FetchOutcomes::isBrokenOff(const std::exception_ptr &failure) const
{
    return m_loop->isHeld() && isTransportError(failure);
}

void FetchOutcomes::recordInstallationFailures(const QList<InstallationFailure> &failures, const QSet<qint64> &asked)
{
    if (m_loop->isHeld())
        return;
    for (const auto &failure : failures) {
        if (asked.contains(failure.identityID) && !failure.isRateLimit)
            m_health.recordFailure(failure.identityID, failure.description, m_clock->now());
    }
}

void FetchOutcomes::adoptInstallationFailures(const QList<InstallationFailure> &failures)
{
    QSet<qint64> fresh;
    for (const auto &failure : failures) {
        if (!m_health.hasFailed(failure.identityID))
            fresh.insert(failure.identityID);
    }
    recordInstallationFailures(failures, fresh);
}

void FetchOutcomes::retainIdentities(const QSet<qint64> &listed)
{
    m_health.retain(listed);
    m_pace.retain(listed);
}

void FetchOutcomes::clearFailuresOfPaused(const QSet<qint64> &identities)
{
    for (const auto identityID : identities) {
        if (pausedUntil(identityID))
            m_health.clearFailure(identityID);
    }
}

} // namespace velmora
