// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"
#include "github/github_client.h"
#include "github/rate_limit_ledger.h"
#include "installations/installation_record.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <memory>
#include <optional>

namespace velmora
{

class Preferences;

/// Which installations and repositories each identity reaches, and which of them the person has switched off.
///
/// Lives on the main thread; nothing throws. Requests are sent one after the other. Choices are kept
/// in the preferences and rewritten whole from the records that exist; when another process changes
/// them there, the records follow.
class InstallationStore final : public QObject
{
    Q_OBJECT

public:
    /// `defaults` and `clock` are not owned and outlive the store. The ledger is shared with the monitor.
    InstallationStore(GitHubClient client, Preferences *defaults, Clock *clock,
        std::shared_ptr<RateLimitLedger> rateLimits, QObject *parent = nullptr);

    /// By the account's login, in the person's alphabetical order.
    [[nodiscard]] const QList<InstallationRecord> &installations() const { return m_installations; }
    /// By name, in the person's alphabetical order; one record for a node id.
    [[nodiscard]] const QList<RepositoryRecord> &repositories() const { return m_repositories; }
    [[nodiscard]] const InstallationLoadingState &state() const { return m_state; }
    /// When the last refresh() with at least one identity ended; refreshIdentities() sets it only when
    /// nothing has, so that repeating it for some identities never postpones the refresh of all.
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_lastRefreshedAt; }
    /// The identities whose installations the last refresh could not fetch, in the order of the sessions.
    [[nodiscard]] const QList<InstallationFailure> &failures() const { return m_failures; }

    /// Whether the installations of the identity are known: it was asked, and the last answer was no failure.
    [[nodiscard]] bool hasLoaded(qint64 identityID) const { return m_reach.contains(identityID); }

    /// Rebuilds everything from GitHub, one identity after the other. An identity that fails loses its
    /// records; one that is paused by a rate limit is not asked and keeps them. A stop ends the refresh
    /// quietly: nothing is published, and the state is what it was. Refreshes may overlap; the last to end counts.
    [[nodiscard]] QCoro::Task<> refresh(AuthenticationStore *authentication, std::stop_token stop = {});

    /// refresh() for these identities only; the records of the others stay. The store turns to
    /// `loading` only when it has never loaded.
    [[nodiscard]] QCoro::Task<> refreshIdentities(
        AuthenticationStore *authentication, QSet<qint64> identities, std::stop_token stop = {});

    /// Forgets what only identities reached that are not among these sessions. Asks nobody.
    void retain(const QList<GitHubAccountSession> &sessions);

    /// Switches one installation by its key; an unknown key changes and saves nothing.
    void setInstallation(const QString &key, bool enabled);
    /// Switches one repository by its node id; an unknown id changes and saves nothing.
    void setRepository(const QString &nodeID, bool included);
    /// Switches every repository.
    void setAllRepositories(bool included);

    /// The repositories to be polled: included, of an enabled installation, in the order of repositories().
    [[nodiscard]] QList<RepositoryRecord> monitoredRepositories() const;

Q_SIGNALS:
    /// installations() changed.
    void installationsChanged();
    /// repositories() changed.
    void repositoriesChanged();
    /// state(), failures() or lastRefreshedAt() changed.
    void stateChanged();

private:
    /// What GitHub says of one identity, before the person's choices.
    struct Reach {
        QList<GitHubInstallation> installations;
        QList<RepositoryRecord> repositories;
    };

    /// What one refresh found out so far.
    struct Findings {
        std::optional<QSet<qint64>> only; ///< the identities it asks for; absent: all
        QHash<qint64, Reach> reached;
        QList<InstallationFailure> failures;
        bool isCancelled = false;
    };

    QCoro::Task<> refreshSessions(
        QPointer<AuthenticationStore> authentication, std::optional<QSet<qint64>> only, std::stop_token stop);
    QCoro::Task<Findings> gather(
        QPointer<AuthenticationStore> authentication, std::optional<QSet<qint64>> only, std::stop_token stop);
    static QCoro::Task<Reach> fetchReach(
        GitHubClient client, QPointer<AuthenticationStore> authentication, qint64 identityID, std::stop_token stop);
    void noteFailure(Findings &findings, const GitHubAccount &account, const std::exception_ptr &failure);
    void publish(const Findings &findings, const QList<GitHubAccountSession> &sessions);
    void publishRecords(const QList<GitHubAccountSession> &sessions);
    void settle(const QList<GitHubAccountSession> &sessions, QList<InstallationFailure> failures, bool isWhole);
    void abandon();
    void adoptChoices();
    void setState(const InstallationLoadingState &state);
    void saveExclusions();
    /// The keys of the installations that the person has switched off, as they are stored.
    [[nodiscard]] QSet<QString> disabledInstallations() const;
    /// The node ids of the repositories that the person has switched off, as they are stored.
    [[nodiscard]] QSet<QString> excludedRepositories() const;

    GitHubClient m_client;
    Preferences *m_defaults;
    Clock *m_clock;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    QList<InstallationRecord> m_installations;
    QList<RepositoryRecord> m_repositories;
    InstallationLoadingState m_state;
    InstallationLoadingState m_settledState; ///< how the last refresh that was not stopped ended
    int m_runningRefreshes = 0;
    std::optional<Instant> m_lastRefreshedAt;
    QList<InstallationFailure> m_failures;
    QHash<qint64, Reach> m_reach; ///< of the identities whose last refresh succeeded
};

} // namespace velmora
