// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_installation.h"

namespace velmora
{

/// A repository that Velmora may monitor, with the identity and the installation through which it is seen.
struct RepositoryRecord {
    qint64 identityID = 0; ///< the identity whose token is used for it
    qint64 installationID = 0;
    GitHubInstallationAccount installationAccount;
    GitHubRepository repository;
    bool isIncluded = true; ///< whether the user lets Velmora monitor it

    /// The key of the record: the repository's node identifier.
    [[nodiscard]] const QString &id() const { return repository.nodeID; }
    friend bool operator==(const RepositoryRecord &, const RepositoryRecord &) = default;
};

} // namespace velmora
