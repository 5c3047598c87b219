// SPDX-License-Identifier: MIT
// How the monitor fetches, and what becomes of what it fetched. When it does is in deployment_monitor.cpp.
#include "monitor/deployment_monitor.h"

#include "accounts/account_stop.h"
#include "accounts/authorized_requests.h"
#include "github/deployment_client_error.h"
#include "github/pausing_session.h"
#include "installations/installation_store.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>
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

/// Ends with a cancellation as soon as the account is removed.
QCoro::Task<IdentityOutcome> fetchForIdentity(GitHubClient client, AuthenticationStore *authentication,
    qint64 identityID, QList<RepositoryRecord> repositories, std::stop_token stop)
{
    IdentityOutcome outcome;
    const AccountStop whileListed(authentication, identityID, stop);
    const std::stop_token requestStop = whileListed.token();
    AuthorizedRequests requests(authentication->promptCredentials(), identityID, stop);
    const std::function<QCoro::Task<DeploymentFetchResult>(QString)> fetch = [=](const QString &accessToken) {
        return client.fetchDeployments(repositories, accessToken, requestStop);
    };
    try {
        auto result = co_await requests.send(fetch);
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

/// Until a save that failed is tried again.
constexpr std::chrono::seconds kCachePause{30};

} // namespace

QCoro::Task<> DeploymentMonitor::refreshInstallations(Round round, QSet<qint64> asked)
{
    if (asked.isEmpty())
        co_return;
    const QPointer<DeploymentMonitor> self(this);
    const std::stop_token stop = m_scope.stopToken();
    // Somebody of whom nothing is known yet, as one who was connected a moment ago: "Connect GitHub" is no longer true.
    // What is merely asked for again, every hour, changes nothing that is shown.
    const bool isDisconnected = m_published.state.state == DeploymentMonitorState::Case::Disconnected;
    if (isDisconnected && asked.intersects(identitiesWithoutInstallations(round)))
        showThatItLoads();
    m_isRefreshing = true;
    co_await round.installations->refreshIdentities(round.authentication, asked, stop);
    if (!self || m_isHeld)
        co_return;
    for (const auto &failure : round.installations->failures()) {
        if (asked.contains(failure.identityID) && !failure.isRateLimit)
            m_health.recordFailure(failure.identityID, failure.description, now());
    }
}

QCoro::Task<> DeploymentMonitor::refreshIdentities(Round round, Scope scope, QSet<qint64> asked)
{
    const QPointer<DeploymentMonitor> self(this);
    if (const auto missing = missingStep(round)) {
        co_await disconnect(*missing);
        co_return;
    }
    asked -= identitiesWithoutInstallations(round);
    asked.removeIf([&](qint64 id) { return pausedUntil(id).has_value(); });
    auto repositories = ofIdentities(round.installations->monitoredRepositories(), asked);
    if (scope == Scope::Active)
        repositories = repositoriesWithActiveDeployments(repositories, m_published.deployments);

    Fetched fetched;
    if (!repositories.isEmpty()) {
        if (m_published.state.state == DeploymentMonitorState::Case::Disconnected)
            showThatItLoads();
        m_isRefreshing = true;
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
        // Somebody may have been removed, or told to pause, since the round began.
        if (own.isEmpty() || !identities(round).contains(identityID) || pausedUntil(identityID))
            continue;
        const auto client = clientOfIdentity(m_client, m_services.rateLimits, identityID);
        auto outcome = co_await fetchForIdentity(client, round.authentication, identityID, own, stop);
        if (!self)
            co_return fetched;
        if (!identities(round).contains(identityID))
            continue;
        if (outcome.result) {
            recordSuccess(identityID, outcome.result->rateLimit, scope);
            for (const auto &deployment : std::as_const(outcome.result->deployments))
                m_owners.insert(deployment.repositoryNodeID, identityID);
            m_unanswered.note(own, outcome.result->unanswered);
            fetched.succeeded.insert(identityID);
            fetched.add(own, std::move(outcome.result->deployments), m_unanswered);
        } else {
            recordFailure(round, identityID, outcome.failure);
            fetched.hasBrokenOff = fetched.hasBrokenOff || isBrokenOff(outcome.failure);
        }
    }
    co_return fetched;
}

void DeploymentMonitor::Fetched::add(const QList<RepositoryRecord> &asked, QList<DeploymentSnapshot> &&result,
    const UnansweredRepositories &withoutAnswer)
{
    for (const RepositoryRecord &record : asked)
        (withoutAnswer.contains(record) ? unanswered : repositories).append(record);
    // Most people have one identity: its list is taken as it is.
    if (deployments.isEmpty())
        deployments = std::move(result);
    else
        deployments += std::move(result);
}

void DeploymentMonitor::recordSuccess(qint64 identityID, const DeploymentRateLimit &rateLimit, Scope scope)
{
    m_health.recordSuccess(identityID);
    if (scope != Scope::Active)
        m_fullCosts.insert(identityID, rateLimit.cost);
    const auto nextCost = std::max(rateLimit.cost, m_fullCosts.value(identityID));
    m_services.rateLimits->recordSuccess(identityID, rateLimit, nextCost, now());
}

void DeploymentMonitor::recordFailure(const Round &round, qint64 identityID, const std::exception_ptr &failure)
{
    qCInfo(monitorLog).noquote() << "Identity" << identityID << "failed:" << describe(failure);
    if (const auto notice = rateLimitOf(failure)) {
        m_services.rateLimits->recordRefusal(identityID, *notice, now());
        m_health.recordSuccess(identityID);
        return;
    }
    if (!isBrokenOff(failure))
        m_health.recordFailure(identityID, round.authentication->explain(identityID, failure), now());
}

/// Connections do not survive a sleep; that is nobody's failure, and it is asked again in a moment.
bool DeploymentMonitor::isBrokenOff(const std::exception_ptr &failure) const
{
    return m_isHeld && isTransportError(failure);
}

/// Failures of a refresh of the installations that somebody else started.
void DeploymentMonitor::noteInstallationFailures(const Round &round)
{
    if (m_isHeld)
        return;
    for (const auto &failure : round.installations->failures()) {
        if (!failure.isRateLimit && !m_health.hasFailed(failure.identityID))
            m_health.recordFailure(failure.identityID, failure.description, now());
    }
}

/// Refused since it failed: GitHub's answer is the newer one, and until the pause is over there is none after it.
void DeploymentMonitor::forgetFailuresOfPaused(const Round &round)
{
    for (const auto identityID : identities(round)) {
        if (pausedUntil(identityID))
            m_health.recordSuccess(identityID);
    }
}

QCoro::Task<> DeploymentMonitor::finish(Round round, Fetched fetched)
{
    const QPointer<DeploymentMonitor> self(this);
    noteInstallationFailures(round);
    forgetFailuresOfPaused(round);
    dropUnmonitored(round, fetched);
    m_unanswered.retain(round.installations->monitoredRepositories());
    const auto previous = listBefore();
    Published next = m_published;
    if (!fetched.succeeded.isEmpty()) {
        next.deployments = shownAfter(std::move(fetched.deployments), fetched, round);
        if (fetched.scope == Scope::All && !fetched.hasBrokenOff)
            next.lastRefreshedAt = now();
    }
    next.state = currentState(round, next.lastRefreshedAt);
    next.message = failureMessage(round);
    if (next.state.state == DeploymentMonitorState::Case::Ready && !fetched.succeeded.isEmpty())
        m_lastCompleteSuccessAt = next.lastRefreshedAt;
    const auto updated = next.deployments;
    publish(std::move(next));
    m_isRefreshing = false;
    if (fetched.succeeded.isEmpty())
        co_return;

    co_await saveCache();
    if (!self)
        co_return;
    takeNoteOfHistory(round, fetched.repositories, previous, updated);
    co_await processNotifications(previous, updated);
}

QCoro::Task<> DeploymentMonitor::processNotifications(
    QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated)
{
    m_announcer.process(previous, updated);
    co_return;
}

/// What was switched off, or whose account was removed, while GitHub was asked is neither shown nor announced.
void DeploymentMonitor::dropUnmonitored(const Round &round, Fetched &fetched)
{
    const auto sessions = identities(round);
    fetched.succeeded &= sessions;
    QSet<QString> monitored;
    for (const auto &record : round.installations->monitoredRepositories()) {
        if (sessions.contains(record.identityID))
            monitored.insert(record.id());
    }
    const auto isMonitored = [&](const RepositoryRecord &record) {
        return monitored.contains(record.id());
    };
    auto &asked = fetched.repositories;
    const auto gone = std::stable_partition(asked.begin(), asked.end(), isMonitored);
    if (gone == asked.end())
        return;
    fetched.gone = QList<RepositoryRecord>(gone, asked.end());
    asked.erase(gone, asked.end());
    const RepositoryIndex index(fetched.gone);
    fetched.deployments.removeIf(
        [&](const DeploymentSnapshot &deployment) { return index.find(deployment) != nullptr; });
}

/// What the list held before: what was under way there and has ended is news. At the first refresh of a run it counts
/// only while it is fresh, that is when another Velmora has just handed over.
QList<DeploymentSnapshot> DeploymentMonitor::listBefore() const
{
    if (m_announcer.hasCompletedLiveRefresh() || m_isContinuing)
        return m_published.deployments;
    return {};
}

/// What is fetched of a repository for the first time is old news, but for the end of what the list held as under way:
/// it may be new to the list, and its history with it.
void DeploymentMonitor::takeNoteOfHistory(const Round &round, const QList<RepositoryRecord> &fetched,
    const QList<DeploymentSnapshot> &previous, const QList<DeploymentSnapshot> &updated)
{
    const auto newcomers = m_liveRepositories.add(fetched);
    m_liveRepositories.retain(round.installations->monitoredRepositories(), identitiesWithoutInstallations(round));
    if (newcomers.isEmpty() || !m_announcer.hasCompletedLiveRefresh())
        return;
    const RepositoryIndex index(newcomers);
    QList<DeploymentSnapshot> history;
    std::ranges::copy_if(updated, std::back_inserter(history),
        [&](const DeploymentSnapshot &deployment) { return index.find(deployment) != nullptr; });
    m_announcer.takeNote(previous, history);
}

QList<DeploymentSnapshot> DeploymentMonitor::shownAfter(
    QList<DeploymentSnapshot> deployments, const Fetched &fetched, const Round &round) const
{
    if (fetched.scope == Scope::Active) {
        const RepositoryIndex asked(fetched.repositories + fetched.gone);
        const auto wasAsked = [&](const DeploymentSnapshot &deployment) {
            return asked.find(deployment) != nullptr;
        };
        return shownAfterFetch(m_published.deployments, std::move(deployments), wasAsked, round.now);
    }
    const RepositoryIndex monitored(round.installations->monitoredRepositories());
    const RepositoryIndex known(round.installations->repositories());
    const RepositoryIndex unanswered(fetched.unanswered);
    const auto sessions = identities(round);
    const auto unloaded = identitiesWithoutInstallations(round);
    const auto isReplaced = [&](const DeploymentSnapshot &deployment) {
        if (unanswered.find(deployment))
            return false;
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

QCoro::Task<> DeploymentMonitor::disconnect(MissingStep missing)
{
    m_foundNothingAt = now();
    m_lastCompleteSuccessAt.reset();
    m_liveRepositories = LiveRepositories();
    const bool hadDeployments = !m_published.deployments.isEmpty();
    Published next;
    next.state = DeploymentMonitorState::disconnected(missing);
    publish(std::move(next));
    m_isRefreshing = false;
    if (hadDeployments)
        co_await saveCache();
}

QCoro::Task<> DeploymentMonitor::saveCache()
{
    const QPointer<DeploymentMonitor> self(this);
    const DeploymentCachePayload payload{m_published.deployments, now()};
    QString failure;
    try {
        co_await m_services.cache->save(payload);
    } catch (...) {
        failure = describe(std::current_exception());
    }
    if (!self)
        co_return;
    m_cacheRetryAt = now() + kCachePause;
    if (m_cacheFailure == failure)
        co_return;
    m_cacheFailure = failure;
    if (!failure.isEmpty())
        qCWarning(monitorLog).noquote() << "The deployments were not saved:" << failure;
    Q_EMIT changed();
}

/// Whoever is refreshed saves as well; this is for the time in which nothing is.
QCoro::Task<> DeploymentMonitor::saveCacheAgain()
{
    if (m_cacheFailure.isEmpty() || now() < m_cacheRetryAt)
        co_return;
    co_await saveCache();
}

} // namespace velmora
