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

/// The installations and repositories that one identity reaches through the App, before the user's choices.
struct VisibleRepositories {
    QList<GitHubInstallation> installations;
    QList<RepositoryRecord> repositories;
};

/// The outcome of loading the installations of one identity.
struct InstallationLoad {
    quint64 number = 0; ///< loads are numbered in the order in which they begin
    std::optional<VisibleRepositories> visible;
    Instant loadedAt; ///< the time of its success
    std::exception_ptr failure; ///< why it did not succeed, else null

    /// Whether the identity's credential is still pending.
    [[nodiscard]] bool isPending() const;
    /// Whether the load ended early because the credential is pending or the identity is paused.
    [[nodiscard]] bool isPutOff() const;
};

/// Loads the installations and repositories of identities from GitHub. For each identity one load runs at a time:
/// callers that come meanwhile join it and get its outcome.
///
/// A load runs as long as a caller waits for it. It sends nothing during a pause of the identity, and records GitHub's
/// rate-limit refusals in the ledger.
class InstallationLoads
{
public:
    /// How long a load waits for a credential.
    enum class Patience {
        Long, ///< until it arrives or fails
        Short, ///< a few seconds, so that other identities are not delayed
    };

    InstallationLoads(GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits);

    /// The outcome of the running load, or of a new one. `credentials` must suit the patience. Does not throw: a stop
    /// ends the wait with a CancellationError as the failure.
    [[nodiscard]] QCoro::Task<InstallationLoad> load(qint64 identityID, std::shared_ptr<CredentialSource> credentials,
        Patience patience, std::stop_token stop) const;

private:
    struct Running;
    /// Shared with the loads under way, which may outlive this object.
    struct State {
        GitHubClient client;
        std::shared_ptr<RateLimitLedger> rateLimits;
        QHash<qint64, std::shared_ptr<Running>> running;
        quint64 latest = 0;
    };

    static QCoro::Task<InstallationLoad> join(std::shared_ptr<State> state, qint64 identityID,
        std::shared_ptr<CredentialSource> credentials, std::stop_token stop);
    static QCoro::Task<> run(std::shared_ptr<State> state, qint64 identityID, std::shared_ptr<Running> running,
        std::shared_ptr<CredentialSource> credentials);

    std::shared_ptr<State> m_state;
};

} // namespace velmora
