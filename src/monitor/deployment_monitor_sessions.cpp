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
        m_scope.launch(
            forgetRemoved(authentication, installations, m_services.clock->now()), "Forgetting removed accounts");
    if (haveJoined)
        m_scope.launch(welcomeNewcomers(authentication, installations), "Fetching for new accounts");
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

/// Like a tick, but one that waits for its turn: whoever has just connected looks at the window.
QCoro::Task<> DeploymentMonitor::welcomeNewcomers(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto turn = co_await m_turn.lock();
    if (!self || m_isHeld)
        co_return;
    const Round round{authentication, installations, m_services.clock->now()};
    co_await decideAndRefresh(round);
}

QCoro::Task<> DeploymentMonitor::forgetRemoved(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto turn = co_await m_turn.lock();
    if (!self)
        co_return;
    if (!m_hasRefreshed)
        co_await loadCache();
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
    // Whoever comes back brings a history along again.
    m_seenLive &= listed;
    round.installations->retain(round.authentication->sessions());
    if (!self)
        co_return;
    if (!m_isHeld) {
        co_await refreshInstallations(round, eligibleIdentities(round) & identitiesWithoutInstallations(round));
        if (!self)
            co_return;
    }
    if (isEverythingMissing(round))
        co_await disconnect(round.now);
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
    m_hasRefreshed = m_hasRefreshed || isChange;
    publish(std::move(next));
    setRefreshing(false);
    if (isChange)
        co_await saveCache(round.now);
}

} // namespace velmora
