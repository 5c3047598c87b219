// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "model/shared_deployment.h"

#include <QHash>
#include <QList>

#include <functional>

namespace velmora
{

/// What is worth showing at `now`, in the order in which it is shown: active deployments of the last seven
/// days first, then results of the last 24 hours, each newest first; inactive ones never. Of two with
/// one id the later update counts. Equal times keep their order.
[[nodiscard]] DeploymentList filteredAndSorted(const DeploymentList &deployments, Instant now);

/// Whether a known deployment is replaced by what was fetched.
using Replacing = std::function<bool(const DeploymentSnapshot &)>;

/// What is shown after a fetch: known deployments for which `isReplaced` holds give way to the fetched ones, the others
/// stay, but for an update; all of them filteredAndSorted(). A deployment that is in both keeps its place, so that
/// equals do not change places from one refresh to the next. `known` holds each id once.
[[nodiscard]] DeploymentList shownAfterFetch(
    const DeploymentList &known, const DeploymentList &fetched, const Replacing &isReplaced, Instant now);

/// What is left at `now` of a list that was shown earlier, when nothing else has changed: the same list, not a copy,
/// when all of it is.
[[nodiscard]] DeploymentList stillShown(DeploymentList shown, Instant now);

/// The deployments of a list that `earlier` does not hold as the same record.
[[nodiscard]] DeploymentList changedSince(const DeploymentList &earlier, const DeploymentList &list);

/// Finds the repository of a deployment by node id, else by name: GitHub may answer with another form of the id than
/// the one in the request.
class RepositoryIndex
{
public:
    explicit RepositoryIndex(QList<RepositoryRecord> repositories);

    /// Nothing when the deployment's repository is not among the repositories. The pointer lives as long as the index.
    [[nodiscard]] const RepositoryRecord *find(const DeploymentSnapshot &deployment) const;

private:
    QList<RepositoryRecord> m_repositories;
    QHash<QString, qsizetype> m_byNodeID;
    QHash<QString, qsizetype> m_byName;
};

/// The repositories, in their order, that have a deployment under way.
[[nodiscard]] QList<RepositoryRecord> repositoriesWithActiveDeployments(
    const QList<RepositoryRecord> &repositories, const DeploymentList &deployments);

} // namespace velmora
