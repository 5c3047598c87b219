// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"
#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "installations/installation_loads.h"
#include "installations/installation_record.h"
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

/// Which installations and repositories each identity reaches, and which of them the user has switched off.
///
/// Lives on the main thread; nothing throws. Choices are kept in the preferences and rewritten whole from the records
/// that exist, but for choices of identities that are not known just now, which stay; when another process changes
/// them there, the records follow.
class InstallationStore final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the store; there may be no page. The ledger is shared with the monitor.
    InstallationStore(GitHubClient client, Preferences *defaults, Clock *clock,
        std::shared_ptr<RateLimitLedger> rateLimits, const InstallationPage *installationPage = nullptr,
        QObject *parent = nullptr);

    /// By the account's login, in the user's alphabetical order.
    [[nodiscard]] const QList<InstallationRecord> &installations() const { return m_installations; }
    /// By name, in the user's alphabetical order; one record for a node id.
    [[nodiscard]] const QList<RepositoryRecord> &repositories() const { return m_repositories; }
    [[nodiscard]] const InstallationLoadingState &state() const { return m_state; }
    /// When the last refresh of all identities ended, or the first of some; repeating it for some never moves it.
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_lastRefreshedAt; }
    /// The identities whose installations the last refresh could not fetch, in the order of the sessions.
    [[nodiscard]] const QList<InstallationFailure> &failures() const { return m_failures; }

    /// Whether the installations of the identity are known: it was asked, and the last answer was no failure.
    [[nodiscard]] bool hasLoaded(qint64 identityID) const { return loadedAt(identityID).has_value(); }
    /// Since when what is known of the identity is; nothing when it is not known.
    [[nodiscard]] std::optional<Instant> loadedAt(qint64 identityID) const;
    /// Whether the App may be installed for the identity at any moment: it is known to be installed nowhere, or the
    /// page on which it is installed was opened lately.
    [[nodiscard]] bool expectsInstallations(qint64 identityID) const;

    /// Rebuilds everything from GitHub, one identity after the other. An identity that is being loaded for another
    /// caller is not asked twice: both get the outcome. An identity that fails loses its records; one that is paused by
    /// a rate limit is not asked and keeps them. A stop ends the refresh quietly: nothing is published, and the state
    /// is what it was. Of two refreshes at once, the later load of an identity counts.
    [[nodiscard]] QCoro::Task<> refresh(AuthenticationStore *authentication, std::stop_token stop = {});

    /// refresh() for these identities only, in which none holds up the others: one whose credential is not at hand
    /// within seconds is not asked, and keeps its records, as do all others. The store turns to `loading` only when it
    /// has never loaded.
    [[nodiscard]] QCoro::Task<> refreshIdentities(
        AuthenticationStore *authentication, QSet<qint64> identities, std::stop_token stop = {});

    /// Forgets what only identities reached that are not among these sessions. Asks nobody.
    void retain(QList<GitHubAccountSession> sessions);

    /// Switches one installation by its key; an unknown key changes and saves nothing.
    void setInstallation(const QString &key, bool enabled) { setInstallations({key}, enabled); }
    /// Switches installations by their keys, saved and announced once; unknown keys change nothing.
    void setInstallations(const QSet<QString> &keys, bool enabled);
    /// Switches one repository by its node id; an unknown id changes and saves nothing.
    void setRepository(const QString &nodeID, bool included) { setRepositories({nodeID}, included); }
    /// Switches repositories by their node ids, saved and announced once; unknown ids change nothing.
    void setRepositories(const QSet<QString> &nodeIDs, bool included);
    /// Switches every repository.
    void setAllRepositories(bool included);

    /// The repositories to be polled: included, of an enabled installation, in the order of repositories().
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

    /// What is known of one identity.
    struct Knowledge {
        quint64 load = 0; ///< the number of the load that it is from
        Instant loadedAt;
        std::optional<InstallationReach> reach; ///< absent: not known
        std::optional<InstallationFailure> failure; ///< why it is not known
    };

    /// What one refresh found out so far.
    struct Findings {
        QHash<qint64, Knowledge> loaded; ///< by identity
        QHash<qint64, InstallationFailure> paused; ///< identities that may not be asked just now
        bool isWhole = false; ///< it was about every identity
        bool isCancelled = false;
    };

    QCoro::Task<> refreshSessions(QPointer<AuthenticationStore> authentication, Patience patience,
        std::optional<QSet<qint64>> only, std::stop_token stop);
    QCoro::Task<Findings> gather(QPointer<AuthenticationStore> authentication, Patience patience,
        std::optional<QSet<qint64>> only, std::stop_token stop);
    [[nodiscard]] static Knowledge knowledgeOf(
        const InstallationLoad &load, const GitHubAccount &account, const AuthenticationStore &authentication);
    void publish(const Findings &findings, const QList<GitHubAccountSession> &sessions);
    void publishRecords(const QList<GitHubAccountSession> &sessions);
    void settle(const QList<GitHubAccountSession> &sessions, bool isWhole);
    void forgetOthers(const QList<GitHubAccountSession> &sessions);
    void abandon();
    void adoptChoices();
    void setState(const InstallationLoadingState &state);
    void saveExclusions();
    [[nodiscard]] bool isKnownWhole(qint64 identityID) const;
    [[nodiscard]] bool mayBeOfUnknown(const QString &installationKey) const;

    Clock *m_clock;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    const InstallationPage *m_installationPage;
    InstallationLoads m_loads;
    SwitchedOff m_switchedOff;
    QPointer<AuthenticationStore> m_authentication; ///< of the last refresh
    QList<InstallationRecord> m_installations;
    QList<RepositoryRecord> m_repositories;
    InstallationLoadingState m_state;
    InstallationLoadingState m_settledState; ///< how the last refresh that was not stopped ended
    int m_runningRefreshes = 0;
    std::optional<Instant> m_lastRefreshedAt;
    QList<InstallationFailure> m_failures;
    QSet<qint64> m_loaded; ///< the identities that were known when that was last announced
    QHash<qint64, Knowledge> m_knowledge;
};

} // namespace velmora
