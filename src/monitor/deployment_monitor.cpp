// SPDX-License-Identifier: MIT
#include "monitor/deployment_monitor.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "monitor/polling_schedule.h"

#include <QPointer>

namespace velmora
{

namespace
{

bool hasActiveDeployment(const QList<DeploymentSnapshot> &deployments)
{
    return std::ranges::any_of(
        deployments, [](const DeploymentSnapshot &deployment) { return isActive(deployment.state); });
}

} // namespace

DeploymentMonitor::DeploymentMonitor(GitHubClient client, Services services, QObject *parent)
    : QObject(parent)
    , m_client(std::move(client))
    , m_services(std::move(services))
    , m_health(m_services.random)
    , m_announcer(m_services.notifier, m_services.defaults)
{
}

DeploymentMonitor::~DeploymentMonitor() = default;

DeploymentMonitorPresentation DeploymentMonitor::presentation() const
{
    return velmora::presentation(m_published.state, m_published.deployments);
}

void DeploymentMonitor::start(AuthenticationStore *authentication, InstallationStore *installations)
{
    m_listed = identities(*authentication);
    connect(authentication, &AuthenticationStore::sessionsChanged, this,
        [this, authentication, installations] { followSessions(authentication, installations); });
    m_scope.launch(poll(authentication, installations), "Polling deployments");
}

QCoro::Task<> DeploymentMonitor::poll(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    const std::stop_token stop = m_scope.stopToken();
    Clock *const clock = m_services.clock;
    co_await loadCache();
    if (!self)
        co_return;
    if (authentication->sessions().isEmpty() && !m_hasRefreshed) {
        co_await disconnect(clock->now());
        if (!self)
            co_return;
    }
    while (true) {
        co_await clock->sleep(kTickInterval, stop);
        if (!self)
            co_return;
        co_await tick(authentication, installations, clock->now());
        if (!self)
            co_return;
    }
}

QCoro::Task<> DeploymentMonitor::loadCache()
{
    const QPointer<DeploymentMonitor> self(this);
    const auto payload = co_await m_services.cache->load();
    if (!self || !payload || m_hasRefreshed)
        co_return;
    Published next = m_published;
    next.deployments = filteredAndSorted(payload->deployments, m_services.clock->now());
    if (next.state.state == DeploymentMonitorState::Case::Loading)
        next.state = DeploymentMonitorState::loading(!next.deployments.isEmpty());
    publish(std::move(next));
}

QCoro::Task<> DeploymentMonitor::tick(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    if (m_isHeld)
        co_return;
    const auto turn = m_turn.tryLock();
    if (!turn)
        co_return;
    const Round round{authentication, installations, now};
    co_await decideAndRefresh(round);
}

QCoro::Task<> DeploymentMonitor::decideAndRefresh(Round round)
{
    const QPointer<DeploymentMonitor> self(this);
    m_health.retain(identities(round));
    const PollingSituation situation{
        m_lastFullRefreshAt, m_published.lastRefreshedAt, hasActiveDeployment(m_published.deployments)};
    const auto decision = decide(situation, round.now);
    const auto eligible = eligibleIdentities(round);

    if (decision == PollingDecision::InstallationsAndAllDeployments) {
        m_lastFullRefreshAt = round.now;
        co_await refreshInstallations(round, eligible);
        if (!self)
            co_return;
        // Perhaps broken off: it is all due again after the pause.
        if (m_isHeld)
            m_lastFullRefreshAt.reset();
        co_await refreshIdentities(round, Scope::All, eligible);
        co_return;
    }
    if (decision == PollingDecision::AllDeployments) {
        co_await refreshInstallations(round, eligible & identitiesWithoutInstallations(round));
        if (self)
            co_await refreshIdentities(round, Scope::All, eligible);
        co_return;
    }

    // Identities that failed, or that were connected since, do not wait for the next full refresh.
    const auto missing = identitiesWithoutInstallations(round);
    QSet<qint64> due;
    for (const auto identityID : eligible) {
        if (m_health.hasFailed(identityID) || missing.contains(identityID))
            due.insert(identityID);
    }
    if (!due.isEmpty()) {
        co_await refreshInstallations(round, due & missing);
        if (!self)
            co_return;
        co_await refreshIdentities(round, Scope::Retried, due);
        if (!self)
            co_return;
    }
    if (decision == PollingDecision::ActiveDeployments)
        co_await refreshIdentities(round, Scope::Active, eligible - due);
}

QCoro::Task<> DeploymentMonitor::refreshAll(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto turn = co_await m_turn.lock();
    if (!self)
        co_return;
    const Round round{authentication, installations, now};
    m_health.retain(identities(round));
    m_health.retryAllNow();
    Published next = m_published;
    next.state = DeploymentMonitorState::loading(!next.deployments.isEmpty());
    publish(std::move(next));
    noteInstallationFailures(round);
    // Installations that could not be fetched are refreshed by whoever asks; those never fetched belong to
    // an identity that was connected a moment ago.
    co_await refreshInstallations(round, eligibleIdentities(round) & neverAskedIdentities(round));
    if (!self)
        co_return;
    co_await refreshIdentities(round, Scope::All, identities(round));
}

QCoro::Task<> DeploymentMonitor::refreshActive(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const auto turn = m_turn.tryLock();
    if (!turn)
        co_return;
    const Round round{authentication, installations, now};
    co_await refreshIdentities(round, Scope::Active, eligibleIdentities(round));
}

QCoro::Task<> DeploymentMonitor::retryNow(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    m_health.retryAllNow();
    co_await tick(authentication, installations, now);
}

QSet<qint64> DeploymentMonitor::identities(const AuthenticationStore &authentication)
{
    QSet<qint64> result;
    for (const auto &session : authentication.sessions())
        result.insert(session.id());
    return result;
}

QSet<qint64> DeploymentMonitor::identities(const Round &round)
{
    return identities(*round.authentication);
}

QSet<qint64> DeploymentMonitor::eligibleIdentities(const Round &round) const
{
    auto result = identities(round);
    result.removeIf([&](qint64 id) {
        return m_health.isWaiting(id, round.now) || m_services.rateLimits->pausedUntil(id, round.now).has_value();
    });
    return result;
}

QSet<qint64> DeploymentMonitor::identitiesWithoutInstallations(const Round &round) const
{
    auto result = identities(round);
    result.removeIf([&](qint64 id) { return round.installations->hasLoaded(id); });
    return result;
}

QSet<qint64> DeploymentMonitor::neverAskedIdentities(const Round &round) const
{
    auto result = identitiesWithoutInstallations(round);
    for (const auto &failure : round.installations->failures())
        result.remove(failure.identityID);
    return result;
}

bool DeploymentMonitor::isEverythingMissing(const Round &round) const
{
    return identitiesWithoutInstallations(round).isEmpty() && round.installations->monitoredRepositories().isEmpty();
}

DeploymentMonitorState DeploymentMonitor::currentState(const Round &round, std::optional<Instant> refreshedAt) const
{
    std::optional<Instant> resumeAt;
    for (const auto identityID : identities(round)) {
        if (m_health.hasFailed(identityID))
            return DeploymentMonitorState::stale(m_lastCompleteSuccessAt);
        const auto pausedUntil = m_services.rateLimits->pausedUntil(identityID, round.now);
        if (pausedUntil && (!resumeAt || *pausedUntil < *resumeAt))
            resumeAt = pausedUntil;
    }
    if (resumeAt)
        return DeploymentMonitorState::rateLimited(refreshedAt, *resumeAt);
    return refreshedAt ? DeploymentMonitorState::ready(*refreshedAt) : m_published.state;
}

QString DeploymentMonitor::failureMessage(const Round &round) const
{
    QStringList lines;
    for (const auto &session : round.authentication->sessions()) {
        if (const auto failure = m_health.failure(session.id()))
            lines.append(session.account.login + QLatin1String(": ") + *failure);
    }
    return lines.join(QLatin1Char('\n'));
}

void DeploymentMonitor::publish(Published published)
{
    if (published == m_published)
        return;
    m_published = std::move(published);
    Q_EMIT changed();
}

/// "Connect GitHub" is no longer true once somebody is asked.
void DeploymentMonitor::beginRequests()
{
    if (m_published.state.state == DeploymentMonitorState::Case::Disconnected) {
        Published next = m_published;
        next.state = DeploymentMonitorState::loading(!next.deployments.isEmpty());
        publish(std::move(next));
    }
    setRefreshing(true);
}

void DeploymentMonitor::setRefreshing(bool isRefreshing)
{
    if (m_isRefreshing == isRefreshing)
        return;
    m_isRefreshing = isRefreshing;
    Q_EMIT isRefreshingChanged();
}

} // namespace velmora
