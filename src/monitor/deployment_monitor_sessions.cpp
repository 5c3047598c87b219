// SPDX-License-Identifier: MIT
// What the monitor does when identities come and go. How it fetches is in deployment_monitor_fetch.cpp.
#include "monitor/deployment_monitor.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"

#include <QPointer>

namespace velmora
{

void DeploymentMonitor::followSessions(AuthenticationStore *authentication, InstallationStore *installations)
{
    retryReconnected(*authentication);
    const auto before = std::exchange(m_listed, identities(*authentication));
    const bool haveLeft = !m_listed.contains(before);
    const bool haveJoined = !before.contains(m_listed);
    if (haveLeft)
        m_scope.launch(forgetRemoved(authentication, installations, now()), "Forgetting removed accounts");
    if (haveJoined)
        m_scope.launch(pollInTurn(authentication, installations), "Fetching for new accounts");
}

/// A keyring that was unlocked, or an account connected anew, is not kept waiting for the next retry.
void DeploymentMonitor::retryReconnected(const AuthenticationStore &authentication)
{
    QSet<qint64> connected;
    for (const auto &session : authentication.sessions()) {
        if (session.status == GitHubSessionStatus::Connected)
            connected.insert(session.id());
    }
    for (const auto identityID : connected - m_connected)
        m_health.retryNow(identityID);
    m_connected = connected;
}

/// Like a tick, but one that waits for its turn: a user who has just connected an account looks at the window.
QCoro::Task<> DeploymentMonitor::pollInTurn(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto turn = co_await m_turn.lock();
    if (!self || m_isHeld)
        co_return;
    co_await loadCacheInTurn();
    if (!self)
        co_return;
    const Round round{authentication, installations, now()};
    co_await decideAndRefresh(round);
}

QCoro::Task<> DeploymentMonitor::refreshExpected(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    const Instant askedAt = now();
    const auto turn = co_await m_turn.lock();
    if (!self || m_isHeld)
        co_return;
    co_await loadCacheInTurn();
    if (!self)
        co_return;
    const Round round{authentication, installations, now()};
    auto expected = eligibleIdentities(round);
    expected.removeIf([&](qint64 id) {
        // What was loaded while this one waited for its turn serves as well.
        const auto loadedAt = installations->loadedAt(id);
        return !installations->expectsInstallations(id) || (loadedAt && *loadedAt > askedAt);
    });
    if (expected.isEmpty())
        co_return;
    co_await refreshInstallations(round, expected);
    if (!self)
        co_return;
    const Round next{authentication, installations, now()};
    co_await decideAndRefresh(next);
    if (self)
        m_isRefreshing = false;
}

QCoro::Task<> DeploymentMonitor::forgetRemoved(
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
    co_await forgetIdentities(round);
}

QCoro::Task<> DeploymentMonitor::forgetIdentities(Round round)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto listed = identities(round);
    m_health.retain(listed);
    round.installations->retain(round.authentication->sessions());
    if (!self)
        co_return;
    // Whoever comes back brings a history along again.
    m_liveRepositories.retain(round.installations->monitoredRepositories(), identitiesWithoutInstallations(round));
    if (!m_isHeld) {
        co_await refreshInstallations(round, eligibleIdentities(round) & identitiesWithoutInstallations(round));
        if (!self)
            co_return;
    }
    if (const auto missing = missingStep(round))
        co_await disconnect(*missing);
    else
        co_await dropUnreachable(round);
}

QCoro::Task<> DeploymentMonitor::dropUnreachable(Round round)
{
    Fetched nothing;
    nothing.scope = Scope::Retried;
    Published next = m_published;
    next.deployments = shownAfter({}, nothing, round);
    next.state = currentState(round, next.lastRefreshedAt);
    next.message = failureMessage(round);
    const bool isChange = next.deployments != m_published.deployments;
    publish(std::move(next));
    m_isRefreshing = false;
    if (isChange)
        co_await saveCache();
}

} // namespace velmora
