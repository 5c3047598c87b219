// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "model/deployment_fetch_result.h"
#include "monitor/refresh_context.h"

#include <QHash>
#include <QList>
#include <QSet>

namespace velmora
{

/// What a fetch brought.
struct FetchedDeployments {
    RefreshScope scope = RefreshScope::All;
    QSet<qint64> succeeded; ///< the identities whose answer came, or that had nothing to ask for
    QList<RepositoryRecord> repositories; ///< of those identities, and answered
    QList<RepositoryRecord> unmonitored; ///< answered, but no longer monitored when the fetch ended
    QList<RepositoryRecord> unanswered; ///< of those identities, but GitHub gave a reason instead of an answer
    QList<DeploymentSnapshot> deployments; ///< of `repositories`
    QHash<QString, qint64> owners; ///< the identity through which a repository was fetched, by node id
    bool hasBrokenOff = false; ///< the machine fell asleep over a request, which is to be made again

    /// Adds the answer to one identity.
    void add(qint64 identityID, const QList<RepositoryRecord> &asked, DeploymentFetchResult &&result);

    /// Takes out what is no longer monitored, or whose account is no longer listed. It is not to be shown or announced.
    void dropUnmonitored(const RefreshContext &context);
};

} // namespace velmora
