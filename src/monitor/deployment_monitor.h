// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "model/deployment_cache.h"
#include "monitor/deployment_list.h"
#include "monitor/deployment_monitor_state.h"
#include "monitor/identity_health.h"
#include "monitor/presentation.h"
#include "monitor/result_announcer.h"
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
/// together and is announced by one changed(); isRefreshing has a signal of its own. After
/// the monitor is gone, whatever it waited for ends by itself.
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
    /// A line for each identity that failed (its login, ": ", why); empty when none did.
    [[nodiscard]] const QString &message() const { return m_published.message; }
    /// When a full refresh last succeeded for at least one identity.
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_published.lastRefreshedAt; }
    /// Whether requests are under way.
    [[nodiscard]] bool isRefreshing() const { return m_isRefreshing; }
    [[nodiscard]] DeploymentMonitorPresentation presentation() const;

    /// Loads the cache, then polls every 5 seconds until the monitor is destroyed. An identity that joins is fetched
    /// at once, and one that leaves is forgotten. Call it once. The stores outlive the monitor.
    void start(AuthenticationStore *authentication, InstallationStore *installations);

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

    /// Fills the list from the cache; a list that a refresh has filled meanwhile is left alone.
    [[nodiscard]] QCoro::Task<> loadCache();

    /// Announces what became of the deployments between two lists, each result once. The first call
    /// only takes note of what is there. A repeated id in `previous` is a fatal error.
    [[nodiscard]] QCoro::Task<> processNotifications(
        QList<DeploymentSnapshot> previous, QList<DeploymentSnapshot> updated);

Q_SIGNALS:
    /// deployments, state, message or lastRefreshedAt changed.
    void changed();
    void isRefreshingChanged();

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
        QList<DeploymentSnapshot> deployments; ///< of those that succeeded

        void add(qint64 identityID, const QList<RepositoryRecord> &asked, QList<DeploymentSnapshot> &&result);
    };

    QCoro::Task<> poll(AuthenticationStore *authentication, InstallationStore *installations);
    QCoro::Task<> decideAndRefresh(Round round);
    QCoro::Task<> refreshInstallations(Round round, QSet<qint64> identities);
    QCoro::Task<> refreshIdentities(Round round, Scope scope, QSet<qint64> identities);
    QCoro::Task<Fetched> fetch(QList<RepositoryRecord> repositories, Round round, Scope scope);
    QCoro::Task<> finish(Round round, Fetched fetched);

    void followSessions(AuthenticationStore *authentication, InstallationStore *installations);
    void retryReconnected(const AuthenticationStore &authentication);
    QCoro::Task<> welcomeNewcomers(AuthenticationStore *authentication, InstallationStore *installations);
    QCoro::Task<> forgetIdentities(Round round);
    QCoro::Task<> dropUnreachable(Round round);
    [[nodiscard]] static QSet<qint64> identities(const AuthenticationStore &authentication);
    [[nodiscard]] static QSet<qint64> identities(const Round &round);
    [[nodiscard]] QSet<qint64> eligibleIdentities(const Round &round) const;
    [[nodiscard]] QSet<qint64> identitiesWithoutInstallations(const Round &round) const;
    [[nodiscard]] QSet<qint64> neverAskedIdentities(const Round &round) const;
    void recordSuccess(qint64 identityID, const DeploymentRateLimit &rateLimit, Scope scope, Instant now);
    void recordFailure(qint64 identityID, const std::exception_ptr &failure, Instant now);
    void noteInstallationFailures(const Round &round);
    void forgetFailuresOfPaused(const Round &round);
    void takeNoteOfHistory(const QSet<qint64> &succeeded, const QList<DeploymentSnapshot> &deployments);
    [[nodiscard]] QList<DeploymentSnapshot> shownAfter(
        QList<DeploymentSnapshot> deployments, const Fetched &fetched, const Round &round) const;
    [[nodiscard]] DeploymentMonitorState currentState(const Round &round, std::optional<Instant> refreshedAt) const;
    [[nodiscard]] QString failureMessage(const Round &round) const;
    [[nodiscard]] bool isEverythingMissing(const Round &round) const;
    QCoro::Task<> disconnect(Instant now);
    QCoro::Task<> saveCache(Instant now);
    void publish(Published published);
    void beginRequests();
    void setRefreshing(bool isRefreshing);

    GitHubClient m_client;
    Services m_services;
    Published m_published;
    bool m_isRefreshing = false;
    bool m_isHeld = false;
    bool m_hasRefreshed = false; ///< the list is no longer the cache's
    std::optional<Instant> m_lastFullRefreshAt; ///< installations and all deployments
    std::optional<Instant> m_lastCompleteSuccessAt; ///< no identity failed or was paused
    IdentityHealth m_health;
    QSet<qint64> m_listed; ///< identities of the sessions when they last changed
    QSet<qint64> m_connected; ///< identities whose session was connected when the sessions last changed
    QHash<qint64, qint64> m_fullCosts; ///< points that the last full fetch of each identity cost
    QHash<QString, qint64> m_owners; ///< identity by repository node id, of every deployment fetched in this run
    QSet<qint64> m_seenLive; ///< identities that have succeeded in this run
    ResultAnnouncer m_announcer;
    AsyncMutex m_turn; ///< held by the refresh under way
    TaskScope m_scope;
};

} // namespace velmora
