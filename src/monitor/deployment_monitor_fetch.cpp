// SPDX-License-Identifier: MIT
// How the monitor fetches, and what becomes of what it fetched. When it does is in deployment_monitor.cpp.
#include "monitor/deployment_monitor.h"

#include "accounts/authentication_store.h"
#include "github/deployment_client_error.h"
#include "installations/installation_store.h"

#include <QLoggingCategory>
#include <QPointer>

#include <iterator>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(monitorLog, "velmora.monitor", QtWarningMsg)

/// How the fetch for one identity ended: with a result or a failure.
struct IdentityOutcome {
    std::optional<DeploymentFetchResult> result;
    std::exception_ptr failure;
};

QCoro::Task<IdentityOutcome> fetchForIdentity(GitHubClient client, AuthenticationStore *authentication,
    qint64 identityID, QList<RepositoryRecord> repositories, std::stop_token stop)
{
    IdentityOutcome outcome;
    try {
        const auto credential = co_await authentication->validCredential(identityID, stop);
        auto result = co_await client.fetchDeployments(repositories, credential.accessToken, stop);
        outcome.result = std::move(result);
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    co_return outcome;
}

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

QList<RepositoryRecord> ofIdentities(const QList<RepositoryRecord> &repositories, const QSet<qint64> &identities)
{
    QList<RepositoryRecord> result;
    std::ranges::copy_if(repositories, std::back_inserter(result),
        [&](const RepositoryRecord &record) { return identities.contains(record.identityID); });
    return result;
}

QList<RepositoryRecord> ofIdentity(const QList<RepositoryRecord> &repositories, qint64 identityID)
{
    return ofIdentities(repositories, QSet<qint64>{identityID});
}

} // namespace

QCoro::Task<> DeploymentMonitor::refreshInstallations(Round round, QSet<qint64> asked)
{
    if (asked.isEmpty())
        co_return;
    const QPointer<DeploymentMonitor> self(this);
    const std::stop_token stop = m_scope.stopToken();
    beginRequests();
    if (asked == identities(round))
        co_await round.installations->refresh(round.authentication, stop);
    else
        co_await round.installations->refreshIdentities(round.authentication, asked, stop);
    if (!self || m_isHeld)
        co_return;
    for (const auto &failure : round.installations->failures()) {
        if (asked.contains(failure.identityID) && !failure.isRateLimit)
            m_health.recordFailure(failure.identityID, failure.description, round.now);
    }
}

QCoro::Task<> DeploymentMonitor::refreshIdentities(Round round, Scope scope, QSet<qint64> asked)
{
    const QPointer<DeploymentMonitor> self(this);
    if (isEverythingMissing(round)) {
        co_await disconnect(round.now);
        co_return;
    }
    asked -= identitiesWithoutInstallations(round);
    asked.removeIf([&](qint64 id) { return m_services.rateLimits->pausedUntil(id, round.now).has_value(); });
    auto repositories = ofIdentities(round.installations->monitoredRepositories(), asked);
    if (scope == Scope::Active)
        repositories = repositoriesWithActiveDeployments(repositories, m_published.deployments);

    Fetched fetched;
    if (!repositories.isEmpty()) {
        beginRequests();
        fetched = co_await fetch(repositories, round, scope);
        if (!self)
            co_return;
    }
    fetched.scope = scope;
    if (scope != Scope::Active) {
        // Whoever has nothing to monitor succeeds without a request.
        for (const auto &record : std::as_const(repositories))
            asked.remove(record.identityID);
        for (const auto identityID : std::as_const(asked))
            m_health.recordSuccess(identityID);
        fetched.succeeded |= asked;
    }
    co_await finish(round, std::move(fetched));
}

QCoro::Task<DeploymentMonitor::Fetched> DeploymentMonitor::fetch(
    QList<RepositoryRecord> repositories, Round round, Scope scope)
{
    const QPointer<DeploymentMonitor> self(this);
    const std::stop_token stop = m_scope.stopToken();
    Fetched fetched;
    const auto sessions = round.authentication->sessions();
    for (const auto &session : sessions) {
        const auto identityID = session.id();
        const auto own = ofIdentity(repositories, identityID);
        if (own.isEmpty())
            continue;
        auto outcome = co_await fetchForIdentity(m_client, round.authentication, identityID, own, stop);
        if (!self)
            co_return fetched;
        if (outcome.result) {
            recordSuccess(identityID, outcome.result->rateLimit, scope, round.now);
            for (const auto &deployment : std::as_const(outcome.result->deployments))
                m_owners.insert(deployment.repositoryNodeID, identityID);
            fetched.add(identityID, own, std::move(outcome.result->deployments));
        } else {
            recordFailure(identityID, outcome.failure, round.now);
        }
    }
    co_return fetched;
}

void DeploymentMonitor::Fetched::add(
    qint64 identityID, const QList<RepositoryRecord> &asked, QList<DeploymentSnapshot> &&result)
{
    succeeded.insert(identityID);
    repositories += asked;
    // Most people have one identity: its list is taken as it is.
    if (deployments.isEmpty())
        deployments = std::move(result);
    else
        deployments += std::move(result);
}

void DeploymentMonitor::recordSuccess(qint64 identityID, const DeploymentRateLimit &rateLimit, Scope scope, Instant now)
{
    m_health.recordSuccess(identityID);
    if (scope != Scope::Active)
        m_fullCosts.insert(identityID, rateLimit.cost);
    const auto nextCost = std::max(rateLimit.cost, m_fullCosts.value(identityID));
    m_services.rateLimits->recordSuccess(identityID, rateLimit, nextCost, now);
}

void DeploymentMonitor::recordFailure(qint64 identityID, const std::exception_ptr &failure, Instant now)
{
    qCInfo(monitorLog).noquote() << "Identity" << identityID << "failed:" << describe(failure);
    if (const auto notice = rateLimitOf(failure)) {
        m_services.rateLimits->recordRefusal(identityID, *notice, now);
        m_health.recordSuccess(identityID);
        return;
    }
    // Connections do not survive a sleep; that is nobody's failure, and it is asked again in a moment.
    if (m_isHeld && isTransportError(failure))
        return;
    m_health.recordFailure(identityID, describe(failure), now);
}

/// Failures of a refresh of the installations that somebody else started.
void DeploymentMonitor::noteInstallationFailures(const Round &round)
{
    if (m_isHeld)
        return;
    for (const auto &failure : round.installations->failures()) {
        if (!failure.isRateLimit && !m_health.hasFailed(failure.identityID))
            m_health.recordFailure(failure.identityID, failure.description, round.now);
    }
}

/// Refused since it failed: GitHub's answer is the newer one, and until the pause is over there is none after it.
void DeploymentMonitor::forgetFailuresOfPaused(const Round &round)
{
    for (const auto identityID : identities(round)) {
        if (m_services.rateLimits->pausedUntil(identityID, round.now))
            m_health.recordSuccess(identityID);
    }
}

QCoro::Task<> DeploymentMonitor::finish(Round round, Fetched fetched)
{
    const QPointer<DeploymentMonitor> self(this);
    noteInstallationFailures(round);
    forgetFailuresOfPaused(round);
    const auto previous = m_published.deployments;
    Published next = m_published;
    if (!fetched.succeeded.isEmpty()) {
        m_hasRefreshed = true;
        next.deployments = shownAfter(std::move(fetched.deployments), fetched, round);
        if (fetched.scope == Scope::All && !m_isHeld)
            next.lastRefreshedAt = round.now;
    }
    next.state = currentState(round, next.lastRefreshedAt);
    next.message = failureMessage(round);
    if (next.state.state == DeploymentMonitorState::Case::Ready && !fetched.succeeded.isEmpty())
        m_lastCompleteSuccessAt = next.lastRefreshedAt;
    const auto updated = next.deployments;
    publish(std::move(next));
    setRefreshing(false);
    if (fetched.succeeded.isEmpty())
        co_return;

    co_await saveCache(round.now);
    if (!self)
        co_return;
    takeNoteOfHistory(fetched.succeeded, updated);
    co_await processNotifications(previous, updated);
}

QCoro::Task<> DeploymentMonitor::processNotifications(
    QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated)
{
    co_await m_announcer.process(previous, updated);
}

/// An identity that joins later, or failed at the start, brings its history along: old news.
void DeploymentMonitor::takeNoteOfHistory(const QSet<qint64> &succeeded, const QList<DeploymentSnapshot> &deployments)
{
    const auto newcomers = succeeded - m_seenLive;
    m_seenLive |= succeeded;
    if (newcomers.isEmpty() || !m_announcer.hasCompletedLiveRefresh())
        return;
    QList<DeploymentSnapshot> history;
    std::ranges::copy_if(deployments, std::back_inserter(history), [&](const DeploymentSnapshot &deployment) {
        const auto owner = m_owners.constFind(deployment.repositoryNodeID);
        return owner != m_owners.constEnd() && newcomers.contains(*owner);
    });
    m_announcer.takeNote(history);
}

QList<DeploymentSnapshot> DeploymentMonitor::shownAfter(
    QList<DeploymentSnapshot> deployments, const Fetched &fetched, const Round &round) const
{
    if (fetched.scope == Scope::Active) {
        const RepositoryIndex asked(fetched.repositories);
        const auto wasAsked = [&](const DeploymentSnapshot &deployment) {
            return asked.find(deployment) != nullptr;
        };
        return shownAfterFetch(m_published.deployments, std::move(deployments), wasAsked, round.now);
    }
    const RepositoryIndex monitored(round.installations->monitoredRepositories());
    const RepositoryIndex known(round.installations->repositories());
    const auto sessions = identities(round);
    const auto unloaded = identitiesWithoutInstallations(round);
    const auto isReplaced = [&](const DeploymentSnapshot &deployment) {
        if (const auto *record = monitored.find(deployment))
            return fetched.succeeded.contains(record->identityID) || !sessions.contains(record->identityID);
        // No longer monitored: it goes, unless it may belong to an identity whose repositories are not
        // known just now. After a restart nobody remembers whose a saved deployment is.
        if (known.find(deployment))
            return true;
        const auto owner = m_owners.constFind(deployment.repositoryNodeID);
        return owner == m_owners.constEnd() ? unloaded.isEmpty() : !unloaded.contains(*owner);
    };
    return shownAfterFetch(m_published.deployments, std::move(deployments), isReplaced, round.now);
}

QCoro::Task<> DeploymentMonitor::disconnect(Instant now)
{
    m_hasRefreshed = true;
    m_lastCompleteSuccessAt.reset();
    const bool hadDeployments = !m_published.deployments.isEmpty();
    Published next;
    next.state = DeploymentMonitorState::disconnected();
    publish(std::move(next));
    setRefreshing(false);
    if (hadDeployments)
        co_await saveCache(now);
}

QCoro::Task<> DeploymentMonitor::saveCache(Instant now)
{
    const DeploymentCachePayload payload{m_published.deployments, now};
    try {
        co_await m_services.cache->save(payload);
    } catch (...) {
        qCWarning(monitorLog).noquote() << "The deployments were not saved:" << describe(std::current_exception());
    }
}

} // namespace velmora
