// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "model/deployment_cache.h"
#include "monitor/deployment_list.h"
#include "monitor/deployment_monitor_state.h"
#include "monitor/identity_health.h"
#include "monitor/live_repositories.h"
#include "monitor/polling_schedule.h"
#include "monitor/presentation.h"
#include "monitor/result_announcer.h"
#include "monitor/unanswered_repositories.h"
#include "support/async_mutex.h"
#include "support/task_scope.h"

#include <QObject>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace velmora
{

class AuthenticationStore;
class DeploymentNotifying;
class InstallationStore;
class Preferences;

/// Decides when to fetch, fetches, and owns the deployments that Velmora shows.
///
/// Lives on the main thread; nothing throws. One refresh runs at a time. What it publishes changes
/// together and is announced by one changed(), but for isRefreshing. After the monitor is gone, whatever it waited for
/// ends by itself.
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
    };

    DeploymentMonitor(GitHubClient client, Services services, QObject *parent = nullptr);
    ~DeploymentMonitor() override;

    /// The deployments on show: unique, filtered, active ones first, newest first.
    [[nodiscard]] const QList<DeploymentSnapshot> &deployments() const { return m_published.deployments; }
    [[nodiscard]] const DeploymentMonitorState &state() const { return m_published.state; }
    /// A line for each identity that failed (its login, ": ", why), and for each reason for which GitHub tells nothing
    /// of some repositories; empty when there is none.
    [[nodiscard]] const QString &message() const { return m_published.message; }
    /// What could not be saved, and why: a line for the settings and one for the deployments; empty when all is saved.
    /// Both are tried again.
    [[nodiscard]] QString unsaved() const;
    /// When a full refresh last succeeded for at least one identity.
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_published.lastRefreshedAt; }
    /// Whether requests are under way.
    [[nodiscard]] bool isRefreshing() const { return m_isRefreshing; }
    [[nodiscard]] DeploymentMonitorPresentation presentation() const;

    /// When a monitor that starts to poll asks GitHub for the first time.
    enum class FirstTick {
        AfterTheInterval, ///< as at login, when the network takes a moment
        AtOnce, ///< as soon as the cache is loaded: somebody waits for it
    };

    /// Loads the cache, then polls every 5 seconds until the monitor is destroyed. An identity that joins is fetched
    /// at once, and one that leaves is forgotten. Call it once. The stores outlive the monitor.
    void start(AuthenticationStore *authentication, InstallationStore *installations,
        FirstTick firstTick = FirstTick::AfterTheInterval);

    // Whatever fetches, publishes or saves loads the cache first, so that nothing that was saved is lost by it. `now`
    // is the time of the decision, for which the list is filtered; whatever happens is timed when it happens.

    /// One decision of the polling loop. Ends at once while a refresh is running.
    [[nodiscard]] QCoro::Task<> tick(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// A person asks for everything: fetches all monitored repositories, those of identities that failed
    /// lately included; only the pauses of rate limits hold. Waits for a running refresh first.
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

    /// Forgets, here and in the cache, whatever only identities reached that are no longer connected; no deployment
    /// is fetched. Asks GitHub where an identity reaches when that is not known yet: after a restart nothing else
    /// tells whose a saved deployment is. Whatever may belong to one that cannot be asked stays. Waits for a running
    /// refresh first.
    [[nodiscard]] QCoro::Task<> forgetRemoved(
        AuthenticationStore *authentication, InstallationStore *installations, Instant now);

    /// The machine is about to sleep or has just woken: until release() ticks do nothing, and a request that
    /// breaks off counts as if it had not been made. A person who asks for everything is served as ever.
    void hold() { m_isHeld = true; }
    void release() { m_isHeld = false; }

    /// Fills the list from the cache, the first time that it is called. Waits for a running refresh first.
    [[nodiscard]] QCoro::Task<> loadCache();

    /// Has announced what became of the deployments between two lists, each result once; waits for none of it. The
    /// first call only takes note of what is there, but for the ends of what was under way in `previous`. A repeated id
    /// in `previous` is a fatal error.
    [[nodiscard]] QCoro::Task<> processNotifications(
        QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated);

Q_SIGNALS:
    /// deployments, state, message, lastRefreshedAt or unsaved changed.
    void changed();

private:
    struct Published {
        QList<DeploymentSnapshot> deployments;
        DeploymentMonitorState state = DeploymentMonitorState::loading(false);
        QString message;
        std::optional<Instant> lastRefreshedAt;
        friend bool operator==(const Published &, const Published &) = default;
    };
    /// The two stores and the time of one decision.
    struct Round {
        AuthenticationStore *authentication;
        InstallationStore *installations;
        Instant now;
    };
    /// How much of an identity's repositories a fetch is about.
    enum class Scope {
        All, ///< everything of everybody who may be asked
        Retried, ///< everything of identities that failed or are new, between two full refreshes
        Active, ///< repositories with a deployment under way
    };
    /// What came of fetching for each identity that was asked.
    struct Fetched {
        Scope scope = Scope::All;
        QSet<qint64> succeeded;
        QList<RepositoryRecord> repositories; ///< of those that succeeded
        QList<RepositoryRecord> gone; ///< of them, those that are no longer monitored by now
        QList<RepositoryRecord> unanswered; ///< of whom GitHub told nothing, and gave a reason; not among them
        QList<DeploymentSnapshot> deployments; ///< of those that succeeded
        bool hasBrokenOff = false; ///< the machine fell asleep over a request, which is made again

        void add(const QList<RepositoryRecord> &asked, QList<DeploymentSnapshot> &&result,
            const UnansweredRepositories &withoutAnswer);
    };

    QCoro::Task<> begin(AuthenticationStore *authentication);
    QCoro::Task<> poll(AuthenticationStore *authentication, InstallationStore *installations, FirstTick firstTick);
    QCoro::Task<> tickSafely(AuthenticationStore *authentication, InstallationStore *installations);
    QCoro::Task<> loadCacheInTurn();
    QCoro::Task<> decideAndRefresh(Round round);
    QCoro::Task<> refreshInstallations(Round round, QSet<qint64> identities);
    QCoro::Task<> refreshIdentities(Round round, Scope scope, QSet<qint64> identities);
    QCoro::Task<Fetched> fetch(QList<RepositoryRecord> repositories, Round round, Scope scope);
    QCoro::Task<> finish(Round round, Fetched fetched);

    void followSessions(AuthenticationStore *authentication, InstallationStore *installations);
    void retryReconnected(const AuthenticationStore &authentication);
    QCoro::Task<> pollInTurn(AuthenticationStore *authentication, InstallationStore *installations);
    QCoro::Task<> forgetIdentities(Round round);
    QCoro::Task<> dropUnreachable(Round round);
    [[nodiscard]] static QSet<qint64> identities(const AuthenticationStore &authentication);
    [[nodiscard]] static QSet<qint64> identities(const Round &round);
    [[nodiscard]] QSet<qint64> eligibleIdentities(const Round &round) const;
    [[nodiscard]] PollingSituation situation(const Round &round, const QSet<qint64> &eligible) const;
    [[nodiscard]] QSet<qint64> identitiesWithoutInstallations(const Round &round) const;
    [[nodiscard]] QSet<qint64> identitiesWithInstallationsDue(const Round &round) const;
    [[nodiscard]] QSet<qint64> neverAskedIdentities(const Round &round) const;
    [[nodiscard]] Instant now() const { return m_services.clock->now(); }
    [[nodiscard]] std::optional<Instant> pausedUntil(qint64 identityID) const;
    void recordSuccess(qint64 identityID, const DeploymentRateLimit &rateLimit, Scope scope);
    void recordFailure(const Round &round, qint64 identityID, const std::exception_ptr &failure);
    [[nodiscard]] bool isBrokenOff(const std::exception_ptr &failure) const;
    void noteInstallationFailures(const Round &round);
    void forgetFailuresOfPaused(const Round &round);
    static void dropUnmonitored(const Round &round, Fetched &fetched);
    [[nodiscard]] QList<DeploymentSnapshot> listBefore() const;
    void takeNoteOfHistory(const Round &round, const QList<RepositoryRecord> &fetched,
        const QList<DeploymentSnapshot> &previous, const QList<DeploymentSnapshot> &updated);
    [[nodiscard]] QList<DeploymentSnapshot> shownAfter(
        QList<DeploymentSnapshot> deployments, const Fetched &fetched, const Round &round) const;
    [[nodiscard]] DeploymentMonitorState currentState(const Round &round, std::optional<Instant> refreshedAt) const;
    [[nodiscard]] QString failureMessage(const Round &round) const;
    [[nodiscard]] std::optional<MissingStep> missingStep(const Round &round) const;
    QCoro::Task<> disconnect(MissingStep missing);
    QCoro::Task<> saveCache();
    QCoro::Task<> saveCacheAgain();
    void publish(Published published);
    void showThatItLoads();

    GitHubClient m_client;
    Services m_services;
    Published m_published;
    bool m_isRefreshing = false;
    bool m_isHeld = false;
    bool m_isCacheLoaded = false;
    bool m_isContinuing = false; ///< what the cache held was saved a moment ago, by the Velmora that ran before
    std::optional<Instant> m_foundNothingAt; ///< when a poll last found that there is nothing to monitor
    std::optional<Instant>
        m_lastCompleteSuccessAt; ///< no identity failed or was paused; of the cache, when it was saved
    IdentityHealth m_health;
    QSet<qint64> m_listed; ///< identities of the sessions when they last changed
    QSet<qint64> m_connected; ///< identities whose session was connected when the sessions last changed
    QString m_cacheFailure; ///< of the last save; empty: it has succeeded
    Instant m_cacheRetryAt = distantPast(); ///< unless a refresh saves earlier
    QHash<qint64, qint64> m_fullCosts; ///< points that the last full fetch of each identity cost
    QHash<QString, qint64> m_owners; ///< identity by repository node id, of every deployment fetched in this run
    LiveRepositories m_liveRepositories;
    UnansweredRepositories m_unanswered;
    ResultAnnouncer m_announcer;
    AsyncMutex m_turn; ///< held by the refresh under way
    TaskScope m_scope;
};

} // namespace velmora
