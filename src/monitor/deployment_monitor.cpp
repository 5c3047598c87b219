// SPDX-License-Identifier: MIT
#include "monitor/deployment_monitor.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "platform/preferences.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(monitorLog, "velmora.monitor", QtWarningMsg)

/// A list that was saved longer ago is history. While GitHub has an account wait, nothing may be saved for an hour.
constexpr std::chrono::hours kLongestHandOver{1};

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
    , m_announcer(m_services.notifier, m_services.defaults, m_services.clock)
{
    connect(m_services.defaults, &Preferences::failureChanged, this, &DeploymentMonitor::changed);
}

DeploymentMonitor::~DeploymentMonitor() = default;

DeploymentMonitorPresentation DeploymentMonitor::presentation() const
{
    return velmora::presentation(m_published.state, m_published.deployments);
}

QString DeploymentMonitor::unsaved() const
{
    QStringList lines{m_services.defaults->failure(), m_cacheFailure};
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

void DeploymentMonitor::start(
    AuthenticationStore *authentication, InstallationStore *installations, FirstTick firstTick)
{
    m_listed = identities(*authentication);
    connect(authentication, &AuthenticationStore::sessionsChanged, this,
        [this, authentication, installations] { followSessions(authentication, installations); });
    connect(authentication, &AuthenticationStore::credentialChanged, this,
        [this, authentication, installations](qint64 identityID) {
            m_health.retryNow(identityID);
            m_scope.launch(pollInTurn(authentication, installations), "Fetching with a new credential");
        });
    m_scope.launch(poll(authentication, installations, firstTick), "Polling deployments");
}

QCoro::Task<> DeploymentMonitor::poll(
    AuthenticationStore *authentication, InstallationStore *installations, FirstTick firstTick)
{
    const QPointer<DeploymentMonitor> self(this);
    const std::stop_token stop = m_scope.stopToken();
    Clock *const clock = m_services.clock;
    co_await begin(authentication);
    if (!self)
        co_return;
    if (firstTick == FirstTick::AtOnce)
        co_await tickSafely(authentication, installations);
    while (self) {
        co_await clock->sleep(kTickInterval, stop);
        if (self)
            co_await tickSafely(authentication, installations);
    }
}

/// Shows what is known before anybody is asked.
QCoro::Task<> DeploymentMonitor::begin(AuthenticationStore *authentication)
{
    const QPointer<DeploymentMonitor> self(this);
    try {
        const auto turn = co_await m_turn.lock();
        if (!self)
            co_return;
        co_await loadCacheInTurn();
        if (self && authentication->sessions().isEmpty())
            co_await disconnect(MissingStep::Account);
    } catch (...) {
        qCWarning(monitorLog).noquote() << "The start of polling failed:" << describe(std::current_exception());
    }
}

/// A tick for which nobody waits: the next one comes, whatever this one throws.
QCoro::Task<> DeploymentMonitor::tickSafely(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    try {
        co_await tick(authentication, installations, now());
    } catch (...) {
        if (!self)
            co_return;
        qCWarning(monitorLog).noquote() << "A tick failed:" << describe(std::current_exception());
        m_isRefreshing = false;
    }
}

QCoro::Task<> DeploymentMonitor::loadCache()
{
    const QPointer<DeploymentMonitor> self(this);
    const auto turn = co_await m_turn.lock();
    if (self)
        co_await loadCacheInTurn();
}

QCoro::Task<> DeploymentMonitor::loadCacheInTurn()
{
    if (m_isCacheLoaded)
        co_return;
    const QPointer<DeploymentMonitor> self(this);
    const auto payload = co_await m_services.cache->load();
    if (!self)
        co_return;
    m_isCacheLoaded = true;
    if (!payload)
        co_return;
    // A clock that was set back since must not show an age in the future.
    m_lastCompleteSuccessAt = std::min(payload->savedAt, now());
    m_isContinuing = now() - payload->savedAt < kLongestHandOver;
    Published next = m_published;
    next.deployments = filteredAndSorted(payload->deployments, now());
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
    const QPointer<DeploymentMonitor> self(this);
    co_await loadCacheInTurn();
    if (!self)
        co_return;
    const Round round{authentication, installations, now};
    co_await decideAndRefresh(round);
    if (self)
        co_await saveCacheAgain();
}

QCoro::Task<> DeploymentMonitor::decideAndRefresh(Round round)
{
    const QPointer<DeploymentMonitor> self(this);
    m_health.retain(identities(round));
    const auto eligible = eligibleIdentities(round);
    const auto decision = decide(situation(round, eligible), round.now);

    if (decision == PollingDecision::InstallationsAndAllDeployments || decision == PollingDecision::AllDeployments) {
        co_await refreshInstallations(round, eligible & identitiesWithInstallationsDue(round));
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
    co_await loadCacheInTurn();
    if (!self)
        co_return;
    const Round round{authentication, installations, now};
    m_health.retain(identities(round));
    m_health.retryAllNow();
    if (!identities(round).isEmpty())
        showThatItLoads();
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
    const QPointer<DeploymentMonitor> self(this);
    co_await loadCacheInTurn();
    if (!self)
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
    result.removeIf([&](qint64 id) { return m_health.isWaiting(id, now()) || pausedUntil(id).has_value(); });
    return result;
}

std::optional<Instant> DeploymentMonitor::pausedUntil(qint64 identityID) const
{
    return m_services.rateLimits->pausedUntil(identityID, now());
}

PollingSituation DeploymentMonitor::situation(const Round &round, const QSet<qint64> &eligible) const
{
    PollingSituation situation;
    // An identity that may not be asked at the full hour is due when it may be.
    for (const auto identityID : eligible) {
        const auto loadedAt = round.installations->loadedAt(identityID);
        if (loadedAt && (!situation.installationsLoadedAt || *loadedAt < *situation.installationsLoadedAt))
            situation.installationsLoadedAt = loadedAt;
    }
    situation.lastRefreshedAt = missingStep(round) ? m_foundNothingAt : m_published.lastRefreshedAt;
    situation.hasActiveDeployment = hasActiveDeployment(m_published.deployments);
    return situation;
}

QSet<qint64> DeploymentMonitor::identitiesWithInstallationsDue(const Round &round) const
{
    auto result = identities(round);
    result.removeIf([&](qint64 id) {
        const auto loadedAt = round.installations->loadedAt(id);
        return loadedAt && !areInstallationsDue(*loadedAt, round.installations->expectsInstallations(id), round.now);
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

/// Nothing while something is monitored, or it is not known for every identity.
std::optional<MissingStep> DeploymentMonitor::missingStep(const Round &round) const
{
    if (round.authentication->sessions().isEmpty())
        return MissingStep::Account;
    if (!identitiesWithoutInstallations(round).isEmpty() || !round.installations->monitoredRepositories().isEmpty())
        return std::nullopt;
    if (round.installations->installations().isEmpty())
        return MissingStep::Installation;
    return round.installations->repositories().isEmpty() ? MissingStep::Access : MissingStep::Selection;
}

DeploymentMonitorState DeploymentMonitor::currentState(const Round &round, std::optional<Instant> refreshedAt) const
{
    std::optional<Instant> resumeAt;
    for (const auto identityID : identities(round)) {
        if (m_health.hasFailed(identityID))
            return DeploymentMonitorState::stale(m_lastCompleteSuccessAt);
        const auto until = pausedUntil(identityID);
        if (until && (!resumeAt || *until < *resumeAt))
            resumeAt = until;
    }
    if (resumeAt)
        return DeploymentMonitorState::rateLimited(refreshedAt ? refreshedAt : m_lastCompleteSuccessAt, *resumeAt);
    return refreshedAt ? DeploymentMonitorState::ready(*refreshedAt) : m_published.state;
}

QString DeploymentMonitor::failureMessage(const Round &round) const
{
    QStringList lines;
    for (const auto &session : round.authentication->sessions()) {
        if (const auto failure = m_health.failure(session.id()))
            lines.append(session.account.login + QLatin1String(": ") + *failure);
        for (const QString &line : m_unanswered.lines(session.id()))
            lines.append(session.account.login + QLatin1String(": ") + line);
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

void DeploymentMonitor::showThatItLoads()
{
    Published next = m_published;
    next.state = DeploymentMonitorState::loading(!next.deployments.isEmpty());
    publish(std::move(next));
}

} // namespace velmora
