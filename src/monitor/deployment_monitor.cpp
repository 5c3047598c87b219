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

/// Awaits the task, and logs its failure after `what`.
QCoro::Task<> logged(const char *what, QCoro::Task<> task)
{
    try {
        co_await task;
    } catch (...) {
        qCWarning(monitorLog).noquote() << what << describe(std::current_exception());
    }
}

} // namespace

DeploymentMonitor::DeploymentMonitor(GitHubClient client, Services services, QObject *parent)
    : QObject(parent)
    , m_defaults(services.defaults)
    , m_clock(services.clock)
    , m_loop(services.clock)
    , m_outcomes(services.rateLimits, services.clock, &m_loop, services.random)
    , m_fetcher(std::move(client), services.rateLimits, &m_outcomes)
    , m_saved(services.cache, services.clock)
    , m_environments(services.defaults, services.clock, services.environmentsPath)
    , m_shown(&m_outcomes, services.clock, services.defaults)
    , m_news(services.notifier, services.defaults, services.clock)
    , m_refresher({services.clock, &m_loop, &m_outcomes, &m_fetcher, &m_saved, &m_environments, &m_shown, &m_news})
{
    connect(&m_shown, &ShownDeployments::changed, this, [this] {
        m_environments.see(m_shown.deployments());
        Q_EMIT changed();
    });
    connect(&m_saved, &SavedDeployments::failureChanged, this, &DeploymentMonitor::changed);
    connect(&m_environments, &Environments::failureChanged, this, &DeploymentMonitor::changed);
    connect(m_defaults, &Preferences::failureChanged, this, &DeploymentMonitor::changed);
    connect(&announcements().pause(), &NotificationPause::changed, this, &DeploymentMonitor::changed);
}

DeploymentMonitorPresentation DeploymentMonitor::presentation() const
{
    return velmora::presentation(state(), deployments(), marks());
}

QString DeploymentMonitor::unsaved() const
{
    QStringList lines{m_defaults->failure(), m_saved.failure(), m_environments.failure()};
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

void DeploymentMonitor::start(
    AuthenticationStore *authentication, InstallationStore *installations, FirstTick firstTick)
{
    followSessions(authentication, installations);
    const Work prepare = [this, authentication] {
        const Work work = [this, authentication] {
            return showWhetherConnected(authentication);
        };
        return logged("The start of polling failed:", inTurn(Turn::Awaited, work));
    };
    const Work eachTick = [this, authentication, installations] {
        return logged("A tick failed:", tick(authentication, installations, now()));
    };
    m_loop.start(firstTick, prepare, eachTick);
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
QCoro::Task<> DeploymentMonitor::showWhetherConnected(const AuthenticationStore *authentication)
{
    if (authentication->sessions().isEmpty())
        co_await m_refresher.disconnect(MissingStep::Account);
}

/// Loads the cache and does the work, unless the operation gets no turn.
QCoro::Task<> DeploymentMonitor::inTurn(Turn turn, Work work)
{
    const QPointer<DeploymentMonitor> self(this);
    auto lock = m_turn.tryLock();
    if (!lock && turn != Turn::IfFree) {
        auto awaited = co_await m_turn.lock();
        lock = std::move(awaited);
    }
    if (!self || !lock || (turn == Turn::AwaitedUnlessHeld && m_loop.isHeld()))
        co_return;
    co_await m_refresher.loadSaved();
    if (self && work)
        co_await work();
}

QCoro::Task<> DeploymentMonitor::loadCache()
{
    return inTurn(Turn::Awaited, nullptr);
}

QCoro::Task<> DeploymentMonitor::tick(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    if (m_loop.isHeld())
        co_return;
    m_news.followClock();
    const RefreshContext context{authentication, installations, now};
    const Work work = [this, context] {
        return refreshDueAndSaveAgain(context);
    };
    co_await inTurn(Turn::IfFree, work);
}

QCoro::Task<> DeploymentMonitor::refreshDueAndSaveAgain(RefreshContext context)
{
    const QPointer<DeploymentMonitor> self(this);
    co_await m_refresher.refreshDue(context);
    if (!self)
        co_return;
    m_environments.saveAgain();
    co_await m_saved.saveAgain(m_shown.deployments());
}

QCoro::Task<> DeploymentMonitor::refreshAll(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const RefreshContext context{authentication, installations, now};
    return inTurn(Turn::Awaited, [this, context] { return m_refresher.refreshAll(context); });
}

QCoro::Task<> DeploymentMonitor::refreshActive(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const RefreshContext context{authentication, installations, now};
    return inTurn(Turn::IfFree,
        [this, context] { return m_refresher.refreshActive(context, m_outcomes.askable(context.listedIdentities())); });
}

QCoro::Task<> DeploymentMonitor::retryNow(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    m_outcomes.retryAllNow();
    return tick(authentication, installations, now);
}

/// Like a tick, but one that waits for its turn: a user who has just connected an account looks at the window.
QCoro::Task<> DeploymentMonitor::pollInTurn(AuthenticationStore *authentication, InstallationStore *installations)
{
    return inTurn(Turn::AwaitedUnlessHeld, [this, authentication, installations] {
        return m_refresher.refreshDue({authentication, installations, now()});
    });
}

QCoro::Task<> DeploymentMonitor::refreshExpected(AuthenticationStore *authentication, InstallationStore *installations)
{
    return inTurn(Turn::AwaitedUnlessHeld, [this, authentication, installations, askedAt = now()] {
        return m_refresher.refreshExpected({authentication, installations, now()}, askedAt);
    });
}

QCoro::Task<> DeploymentMonitor::forgetRemoved(
    AuthenticationStore *authentication, InstallationStore *installations, Instant now)
{
    const RefreshContext context{authentication, installations, now};
    return inTurn(Turn::Awaited, [this, context] { return m_refresher.forgetRemoved(context); });
}

QCoro::Task<> DeploymentMonitor::processNotifications(DeploymentList previous, DeploymentList updated)
{
    return m_news.announce(std::move(previous), std::move(updated));
}

} // namespace velmora
