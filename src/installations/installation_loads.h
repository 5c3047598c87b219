// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_source.h"
#include "github/github_client.h"
#include "github/rate_limit_ledger.h"

#include <QHash>

#include <memory>
#include <optional>

namespace velmora
{

/// What one identity reaches through the App, before the user's choices.
struct InstallationReach {
    QList<GitHubInstallation> installations;
    QList<RepositoryRecord> repositories;
};

/// How a load of the installations of one identity ended.
struct InstallationLoad {
    quint64 number = 0; ///< loads are numbered in the order in which they begin
    std::optional<InstallationReach> reach;
    Instant loadedAt; ///< of the reach
    std::exception_ptr failure; ///< why there is no reach; else null

    /// Whether the identity's credential is still being waited for.
    [[nodiscard]] bool isPending() const;
    /// Whether GitHub was not asked to the end, be it for that or because a pause has begun.
    [[nodiscard]] bool isPutOff() const;
};

/// Loads from GitHub what identities reach. For each identity one load runs at a time: a caller that comes while it
/// runs joins it, and is given its outcome.
///
/// A load goes on for as long as a caller waits for it. It sends nothing during a pause of the identity, and notes in
/// the ledger when GitHub refuses a request because of a rate limit.
class InstallationLoads
{
public:
    /// How long an identity whose credential is not at hand is waited for.
    enum class Patience {
        Long, ///< until there is one or a reason why not
        Short, ///< no longer than others can wait
    };

    InstallationLoads(GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits);

    /// The outcome of the load that runs, or of a new one. `credentials` suit the patience. Does not throw: a stop ends
    /// the waiting with a CancellationError as the failure.
    [[nodiscard]] QCoro::Task<InstallationLoad> load(
        qint64 identityID, std::shared_ptr<CredentialSource> credentials, Patience patience, std::stop_token stop);

private:
    struct Running;
    /// Shared with the loads under way, which may outlive this object.
    struct State {
        GitHubClient client;
        std::shared_ptr<RateLimitLedger> rateLimits;
        QHash<qint64, std::shared_ptr<Running>> running;
        quint64 latest = 0;
    };

    static QCoro::Task<InstallationLoad> loadOnce(std::shared_ptr<State> state, qint64 identityID,
        std::shared_ptr<CredentialSource> credentials, Patience patience, std::stop_token stop);
    static QCoro::Task<InstallationLoad> join(std::shared_ptr<State> state, qint64 identityID,
        std::shared_ptr<CredentialSource> credentials, std::stop_token stop);
    static QCoro::Task<> run(std::shared_ptr<State> state, qint64 identityID, std::shared_ptr<Running> running,
        std::shared_ptr<CredentialSource> credentials);

    std::shared_ptr<State> m_state;
};

} // namespace velmora
