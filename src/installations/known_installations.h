// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "installations/installation_loads.h"
#include "installations/installation_record.h"

#include <QHash>

#include <optional>

namespace velmora
{

/// What is known of the installations and repositories of each identity.
class KnownInstallations
{
public:
    /// The knowledge about one identity.
    struct Knowledge {
        quint64 load = 0; ///< the number of the load that produced it; 0 if none was begun
        Instant loadedAt;
        std::optional<VisibleRepositories> visible; ///< absent: unknown
        std::optional<InstallationFailure> failure; ///< why it is unknown
    };

    /// Replaces what is known of the identity, unless that comes from a later load. Without a load only the failure is
    /// taken over, and only if nothing is known.
    void add(qint64 identityID, const Knowledge &found);
    /// Forgets the identities that are not among these sessions.
    void retain(const QList<GitHubAccountSession> &sessions);

    /// The knowledge about the identity; empty if there is none.
    [[nodiscard]] Knowledge of(qint64 identityID) const { return m_known.value(identityID); }
    /// Whether all repositories of the identity are known. Those of a suspended installation may come back.
    [[nodiscard]] bool isWhole(qint64 identityID) const;

    /// The records of the sessions' identities, sorted by the account's login.
    [[nodiscard]] QList<InstallationRecord> installations(const QList<GitHubAccountSession> &sessions) const;
    /// The same, sorted by name. A repository of several identities is a record of the first.
    [[nodiscard]] QList<RepositoryRecord> repositories(const QList<GitHubAccountSession> &sessions) const;

private:
    QHash<qint64, Knowledge> m_known; ///< by identity
};

} // namespace velmora
