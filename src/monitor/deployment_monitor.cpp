// SPDX-License-Identifier: MIT
#include "monitor/deployment_monitor.h"

#include "accounts/authentication_store.h"
#include "platform/preferences.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(monitorLog, "velmora.monitor", QtWarningMsg)

} // namespace

DeploymentMonitor::DeploymentMonitor(GitHubClient client, Services services, QObject *parent)
    : QObject(parent)
    , m_defaults(services.defaults)
    , m_clock(services.clock)
    , m_loop(services.clock)
    , m_outcomes(services.rateLimits, services.clock, &m_loop, services.random)
    , m_fetcher(std::move(client), services.rateLimits, &m_outcomes)
    , m_saved(services.cache, services.clock)
    , m_shown(&m_outcomes, services.clock)
    , m_news(services.notifier, services.defaults, services.clock)
    , m_refresher({services.clock, &m_loop, &m_outcomes, &m_fetcher, &m_saved, &m_shown, &m_news})
{
    connect(&m_shown, &ShownDeployments::changed, this, &DeploymentMonitor::changed);
    connect(&m_saved, &SavedDeployments::failureChanged, this, &DeploymentMonitor::changed);
    connect(m_defaults, &Preferences::failureChanged, this, &DeploymentMonitor::changed);
}

DeploymentMonitor::~DeploymentMonitor() = default;

DeploymentMonitorPresentation DeploymentMonitor::presentation() const
{
    return velmora::presentation(state(), deployments());
}

QString DeploymentMonitor::unsaved() const
{
    QStringList lines{m_defaults->failure(), m_saved.failure()};
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

void DeploymentMonitor::start(
    AuthenticationStore *authentication, InstallationStore *installations, FirstTick firstTick)
{
    followSessions(authentication, installations);
    const PollingLoop::Work beforeTicks = [this, authentication] {
        return prepare(authentication);
    };
    const PollingLoop::Work eachTick = [this, authentication, installations] {
        return tickSafely(authentication, installations);
    };
    m_loop.start(firstTick, beforeTicks, eachTick);
}

void DeploymentMonitor::followSessions(AuthenticationStore *authentication, InstallationStore *installations)
{
    connect(&m_follower, &IdentityFollower::reconnected, this,
        [this](qint64 identityID) { m_outcomes.retryNow(identityID); });
    connect(&m_follower, &IdentityFollower::left, this, [this, authentication, installations] {
        m_scope.launch(forgetRemoved(authentication, installations, now()), "Forgetting removed accounts");
    });
    connect(&m_follower, &IdentityFollower::joined, this, [this, authentication, installations] {
        m_scope.launch(pollInTurn(authentication, installations), "Fetching for new accounts");
    });
    m_follower.follow(authentication);
    connect(authentication, &AuthenticationStore::credentialChanged, this,
        [this, authentication, installations](qint64 identityID) {
            m_outcomes.retryNow(identityID);
            m_scope.launch(pollInTurn(authentication, installations), "Fetching with a new credential");
        });
}

/// Shows what is known before GitHub is asked.
QCoro::Task<> DeploymentMonitor::prepare(AuthenticationStore *authentication)
{
    const QPointer<DeploymentMonitor> self(this);
    try {
        const auto held = co_await turn();
        if (self && authentication->sessions().isEmpty())
            co_await m_refresher.disconnect(MissingStep::Account);
    } catch (...) {
        qCWarning(monitorLog).noquote() << "The start of polling failed:" << describe(std::current_exception());
    }
}

/// A tick of the loop, which goes on after a failure.
QCoro::Task<> DeploymentMonitor::tickSafely(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    try {
        co_await tick(authentication, installations, now());
    } catch (...) {
        if (!self)
            co_return;
        qCWarning(monitorLog).noquote() << "A tick failed:" << describe(std::current_exception());
        m_refresher.endRefreshing();
    }
}

/// Waits until no other operation is under way, and loads the cache. The caller checks that the monitor still lives.
QCoro::Task<DeploymentMonitor::Turn> DeploymentMonitor::turn()
{
    const QPointer<DeploymentMonitor> self(this);
    Turn held = co_await m_turn.lock();
    if (self)
        co_await m_refresher.loadSaved();
    co_return held;
}

/// As turn(), but nothing when ticks are on hold by then.
QCoro::Task<DeploymentMonitor::Turn> DeploymentMonitor::turnUnlessHeld()
{
    const QPointer<DeploymentMonitor> self(this);
    Turn held = co_await m_turn.lock();
    if (!self || m_loop.isHeld())
        co_return std::nullopt;
    co_await m_refresher.loadSaved();
    co_return held;
}

/// As turn(), but nothing, without waiting, when another operation is under way.
QCoro::Task<DeploymentMonitor::Turn> DeploymentMonitor::turnIfFree()
{
    Turn held = m_turn.tryLock();
    if (held)
        co_await m_refresher.loadSaved();
    co_return held;
}

QCoro::Task<> DeploymentMonitor::loadCache()
{
    co_await turn();
}

QCoro::Task<> DeploymentMonitor::tick(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    if (m_loop.isHeld())
        co_return;
    const QPointer<DeploymentMonitor> self(this);
    const auto held = co_await turnIfFree();
    if (!self || !held)
        co_return;
    const RefreshContext context{authentication, installations, now};
    co_await m_refresher.refreshDue(context);
    if (self)
        co_await m_saved.saveAgain(deployments());
}

QCoro::Task<> DeploymentMonitor::refreshAll(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto held = co_await turn();
    const RefreshContext context{authentication, installations, now};
    if (self)
        co_await m_refresher.refreshAll(context);
}

QCoro::Task<> DeploymentMonitor::refreshActive(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto held = co_await turnIfFree();
    const RefreshContext context{authentication, installations, now};
    if (self && held)
        co_await m_refresher.refreshActive(context, m_outcomes.askable(context.listedIdentities()));
}

QCoro::Task<> DeploymentMonitor::retryNow(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    m_outcomes.retryAllNow();
    co_await tick(authentication, installations, now);
}

/// Like a tick, but one that waits for its turn: a user who has just connected an account looks at the window.
QCoro::Task<> DeploymentMonitor::pollInTurn(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto held = co_await turnUnlessHeld();
    if (!self || !held)
        co_return;
    const RefreshContext context{authentication, installations, now()};
    co_await m_refresher.refreshDue(context);
}

QCoro::Task<> DeploymentMonitor::refreshExpected(AuthenticationStore *authentication, InstallationStore *installations)
{
    const QPointer<DeploymentMonitor> self(this);
    const Instant askedAt = now();
    const auto held = co_await turnUnlessHeld();
    if (!self || !held)
        co_return;
    const RefreshContext context{authentication, installations, now()};
    co_await m_refresher.refreshExpected(context, askedAt);
}

QCoro::Task<> DeploymentMonitor::forgetRemoved(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const QPointer<DeploymentMonitor> self(this);
    const auto held = co_await turn();
    const RefreshContext context{authentication, installations, now};
    if (self)
        co_await m_refresher.forgetRemoved(context);
}

QCoro::Task<> DeploymentMonitor::processNotifications(
    QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated)
{
    m_news.announce(previous, updated);
    co_return;
}

} // namespace velmora
