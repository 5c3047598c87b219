// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"
#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "installations/installation_loads.h"
#include "installations/known_installations.h"
#include "installations/switched_off.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <memory>
#include <optional>

namespace velmora
{

class InstallationPage;

/// The installations and repositories of each identity, and the user's choices of what to monitor.
///
/// Lives on the main thread. Does not throw. Keeps the choices in the preferences: writes them for all existing
/// records, and keeps the stored choices for identities that are currently unknown. The records follow changes that
/// other processes make there.
class InstallationStore final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the store. The page may be null. The ledger is shared with the monitor.
    InstallationStore(GitHubClient client, Preferences *defaults, Clock *clock,
        std::shared_ptr<RateLimitLedger> rateLimits, const InstallationPage *installationPage = nullptr,
        QObject *parent = nullptr);

    /// Sorted by the account's login, in the alphabetical order of the user's language.
    [[nodiscard]] const QList<InstallationRecord> &installations() const { return m_installations; }
    /// Sorted by name in the same way, with one record for each node id.
    [[nodiscard]] const QList<RepositoryRecord> &repositories() const { return m_repositories; }
    [[nodiscard]] const InstallationLoadingState &state() const { return m_state; }
    /// When the last refresh of all identities ended, or else the first partial one. Later partial refreshes do not
    /// change it.
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_lastRefreshedAt; }
    /// The identities that the last refresh failed to fetch, in the order of the sessions.
    [[nodiscard]] const QList<InstallationFailure> &failures() const { return m_failures; }

    /// Whether the installations of the identity are known: its last load succeeded.
    [[nodiscard]] bool hasLoaded(qint64 identityID) const { return loadedAt(identityID).has_value(); }
    /// When the identity was last loaded, nullopt if its installations are unknown.
    [[nodiscard]] std::optional<Instant> loadedAt(qint64 identityID) const;
    /// Whether the App may be installed for the identity at any moment: it has no known installation, or the
    /// installation page was opened lately.
    [[nodiscard]] bool expectsInstallations(qint64 identityID) const;

    /// Loads everything from GitHub, one identity after the other. Joins a load of an identity that another caller has
    /// started. An identity that fails loses its records; one that is paused by a rate limit is skipped and keeps them.
    /// A stop ends the refresh without changes, and restores the state. Of two simultaneous refreshes, the later load
    /// of an identity wins.
    [[nodiscard]] QCoro::Task<> refresh(AuthenticationStore *authentication, std::stop_token stop = {});

    /// refresh() for these identities only, without one delaying the others: an identity whose credential does not
    /// arrive within seconds is skipped. It keeps its records, and so do all other identities. The state becomes
    /// `loading` only before the first load.
    [[nodiscard]] QCoro::Task<> refreshIdentities(
        AuthenticationStore *authentication, QSet<qint64> identities, std::stop_token stop = {});

    /// Forgets the records of identities that are not among these sessions. Sends no request.
    void retain(QList<GitHubAccountSession> sessions);

    /// Switches one installation by its key. An unknown key changes and saves nothing.
    void setInstallation(const QString &key, bool enabled) { setInstallations({key}, enabled); }
    /// Switches installations by their keys, and saves and announces it once. Unknown keys change nothing.
    void setInstallations(const QSet<QString> &keys, bool enabled);
    /// Switches one repository by its node id. An unknown id changes and saves nothing.
    void setRepository(const QString &nodeID, bool included) { setRepositories({nodeID}, included); }
    /// Switches repositories by their node ids, and saves and announces it once. Unknown ids change nothing.
    void setRepositories(const QSet<QString> &nodeIDs, bool included);
    /// Switches every repository.
    void setAllRepositories(bool included);

    /// The repositories to poll: included, in an enabled installation, in the order of repositories().
    [[nodiscard]] QList<RepositoryRecord> monitoredRepositories() const;

Q_SIGNALS:
    /// installations() changed.
    void installationsChanged();
    /// repositories() changed.
    void repositoriesChanged();
    /// state(), failures(), lastRefreshedAt() or hasLoaded() of an identity changed.
    void stateChanged();

private:
    using Patience = InstallationLoads::Patience;

    /// The results of one refresh so far.
    struct RefreshResults {
        QHash<qint64, KnownInstallations::Knowledge> found; ///< by identity
        bool isWhole = false; ///< it covers every identity
        bool isCancelled = false;
    };

    QCoro::Task<> refreshSessions(QPointer<AuthenticationStore> authentication, Patience patience,
        std::optional<QSet<qint64>> only, std::stop_token stop);
    QCoro::Task<RefreshResults> load(QPointer<AuthenticationStore> authentication, Patience patience,
        std::optional<QSet<qint64>> only, std::stop_token stop);
    [[nodiscard]] static KnownInstallations::Knowledge knowledgeOf(
        const InstallationLoad &load, const GitHubAccount &account, const AuthenticationStore &authentication);
    void publish(const RefreshResults &results, const QList<GitHubAccountSession> &sessions);
    void publishRecords(const QList<GitHubAccountSession> &sessions);
    void replaceRecords(QList<InstallationRecord> installations, QList<RepositoryRecord> repositories);
    void settle(const QList<GitHubAccountSession> &sessions, bool isWhole);
    void abandon();
    void setState(const InstallationLoadingState &state);
    void include(const QSet<QString> &nodeIDs, bool included);
    [[nodiscard]] bool mayBeOfUnknown(const QString &installationKey) const;

    Clock *m_clock;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    const InstallationPage *m_installationPage;
    InstallationLoads m_loads;
    SwitchedOff m_disabled; ///< installations, by their keys
    SwitchedOff m_excluded; ///< repositories, by their node ids
    QPointer<AuthenticationStore> m_authentication; ///< the argument of the last refresh
    QList<InstallationRecord> m_installations;
    QList<RepositoryRecord> m_repositories;
    InstallationLoadingState m_state;
    InstallationLoadingState m_settledState; ///< the state after the last refresh that was not stopped
    int m_runningRefreshes = 0;
    std::optional<Instant> m_lastRefreshedAt;
    QList<InstallationFailure> m_failures;
    QSet<qint64> m_loaded; ///< the identities that were known at the last stateChanged()
    KnownInstallations m_known;
};

} // namespace velmora
