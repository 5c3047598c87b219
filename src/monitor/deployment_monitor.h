// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_fetcher.h"
#include "monitor/deployment_news.h"
#include "monitor/deployment_refresher.h"
#include "monitor/environments.h"
#include "monitor/fetch_outcomes.h"
#include "monitor/identity_follower.h"
#include "monitor/polling_loop.h"
#include "monitor/saved_deployments.h"
#include "monitor/shown_deployments.h"
#include "support/async_mutex.h"
#include "support/task_scope.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace velmora
{

/// Keeps the deployments on show up to date: decides what to fetch, and has it fetched, shown, saved and announced.
///
/// Lives on the main thread; nothing throws. One refresh runs at a time. What it publishes changes together and is
/// announced by one changed(), but for isRefreshing. After the monitor is destroyed, whatever it waited for ends by
/// itself.
class DeploymentMonitor final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the monitor. The ledger is shared with the InstallationStore.
    struct Services {
        DeploymentCaching *cache = nullptr;
        DeploymentNotifying *notifier = nullptr;
        Preferences *defaults = nullptr;
        Clock *clock = nullptr;
        std::shared_ptr<RateLimitLedger> rateLimits;
        /// A number from 0 to below 1, evenly spread; spreads the retries of many machines.
        std::function<double()> random;
        /// The file of the record of environments; empty to keep it in memory.
        QString environmentsPath = {};
    };

    DeploymentMonitor(GitHubClient client, Services services, QObject *parent = nullptr);

    /// The deployments on show: unique, filtered, active ones first, newest first.
    [[nodiscard]] const DeploymentList &deployments() const { return m_shown.listed().deployments; }
    /// What is known of the failures among them.
    [[nodiscard]] const FailureMarks &marks() const { return m_shown.listed().marks; }
    /// What the user has hidden by choices about environments, in the same order. Nothing counts these.
    [[nodiscard]] const MarkedDeployments &hidden() const { return m_shown.hidden(); }
    /// The environments that were seen, and the choices about them.
    [[nodiscard]] Environments &environments() { return m_environments; }
    [[nodiscard]] const DeploymentMonitorState &state() const { return m_shown.state(); }
    /// A line for each identity that failed (its login, ": ", why), and for each reason for which GitHub tells nothing
    /// of some repositories; empty when there is none.
    [[nodiscard]] const QString &message() const { return m_shown.message(); }
    /// What could not be saved, and why: a line for the settings, one for the deployments and one for the record of
    /// environments; empty when all is saved. All are tried again.
    [[nodiscard]] QString unsaved() const;
    /// When a full refresh last succeeded for at least one identity.
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_shown.lastRefreshedAt(); }
    /// Whether requests are under way.
    [[nodiscard]] bool isRefreshing() const { return m_refresher.isRefreshing(); }
    [[nodiscard]] DeploymentMonitorPresentation presentation() const;

    /// When a monitor that starts to poll asks GitHub for the first time. It loads the cache before that.
    using FirstTick = PollingLoop::FirstTick;

    /// Loads the cache, then polls every 5 seconds until the monitor is destroyed. An identity that joins is fetched
    /// at once, and one that leaves is forgotten. Call it once. The stores outlive the monitor.
    void start(AuthenticationStore *authentication, InstallationStore *installations,
        FirstTick firstTick = FirstTick::AfterTheInterval);

    // Every operation that fetches, publishes or saves loads the cache first, so that nothing that was saved is lost.
    // `now` is the time of the decision, for which the list is filtered; what happens is timed when it happens.

    /// One decision of the polling loop. Ends at once while a refresh is running.
    [[nodiscard]] QCoro::Task<> tick(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// The user asks for everything: fetches all monitored repositories, those of identities that failed lately
    /// included; only the pauses of rate limits hold. Waits for a running refresh first.
    [[nodiscard]] QCoro::Task<> refreshAll(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// Fetches the repositories that have a deployment under way. Ends at once while a refresh is running.
    [[nodiscard]] QCoro::Task<> refreshActive(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// The network is back or the machine woke: identities that failed are due, and a tick follows at once.
    [[nodiscard]] QCoro::Task<> retryNow(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// The user is back from elsewhere, perhaps from installing the App: where installations are expected, asks for
    /// them at once and fetches what they bring. Asks for nothing else.
    [[nodiscard]] QCoro::Task<> refreshExpected(AuthenticationStore *authentication, InstallationStore *installations);

    /// Forgets, here and in the cache, the deployments that only identities reached that are no longer listed, and the
    /// environments that were seen there; fetches none. Loads the installations of identities of which they are not
    /// known: after a restart nothing else tells whose a saved deployment is. What may belong to an identity that
    /// cannot be asked stays. Waits for a running refresh first.
    [[nodiscard]] QCoro::Task<> forgetRemoved(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// The machine is about to sleep or has just woken: until release() ticks do nothing, and a request that
    /// breaks off counts as if it had not been made. refreshAll() works as ever.
    void hold() { m_loop.hold(); }
    void release() { m_loop.release(); }

    /// Dismisses the failures on show with these ids: they count no longer until their state changes. Or counts them
    /// again.
    void setDismissed(const QSet<QString> &ids, bool isDismissed) { m_shown.setDismissed(ids, isDismissed); }

    /// What the user has chosen to be announced.
    [[nodiscard]] AnnouncementChoices &announcements() { return m_news.choices(); }

    /// Fills the list from the cache, the first time that it is called. Waits for a running refresh first.
    [[nodiscard]] QCoro::Task<> loadCache();

    /// Has announced what became of the deployments between two lists, each result once; waits for none of it. The
    /// first call only records what is there, but for the ends of what was under way in `previous`. A repeated id
    /// in `previous` is a fatal error.
    [[nodiscard]] QCoro::Task<> processNotifications(DeploymentList previous, DeploymentList updated);

Q_SIGNALS:
    /// deployments, marks, hidden, state, message, lastRefreshedAt or unsaved changed, or a pause of the notifications
    /// began or ended.
    void changed();

private:
    /// How an operation gets the turn to refresh, which one at a time has.
    enum class Turn {
        Awaited, ///< it waits for the others
        AwaitedUnlessHeld, ///< it waits, and does nothing when ticks are on hold by then
        IfFree, ///< it does nothing while another one has the turn
    };
    using Work = std::function<QCoro::Task<>()>;

    void followSessions(AuthenticationStore *authentication, InstallationStore *installations);
    QCoro::Task<> inTurn(Turn turn, Work work);
    QCoro::Task<> showWhetherConnected(const AuthenticationStore *authentication);
    QCoro::Task<> refreshDueAndSaveAgain(RefreshContext context);
    QCoro::Task<> pollInTurn(AuthenticationStore *authentication, InstallationStore *installations);
    [[nodiscard]] Instant now() const { return m_clock->now(); }

    Preferences *m_defaults;
    Clock *m_clock;
    PollingLoop m_loop;
    FetchOutcomes m_outcomes;
    DeploymentFetcher m_fetcher;
    SavedDeployments m_saved;
    Environments m_environments;
    ShownDeployments m_shown;
    DeploymentNews m_news;
    DeploymentRefresher m_refresher;
    IdentityFollower m_follower;
    AsyncMutex m_turn; ///< held by the operation under way; every other one waits, or ends
    TaskScope m_scope;
};

} // namespace velmora
