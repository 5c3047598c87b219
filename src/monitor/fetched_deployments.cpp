// SPDX-License-Identifier: MIT
#include "monitor/fetched_deployments.h"

#include "installations/installation_store.h"
#include "monitor/deployment_list.h"

#include <algorithm>

namespace velmora
{

void FetchedDeployments::add(qint64 identityID, const QList<RepositoryRecord> &asked, DeploymentFetchResult &&result)
{
    succeeded.insert(identityID);
    for (const auto &deployment : std::as_const(result.deployments))
        owners.insert(deployment.repositoryNodeID, identityID);
    QSet<QString> withoutAnswer;
    for (const auto &repository : std::as_const(result.unanswered))
        withoutAnswer.insert(repository.nodeID);
    for (const RepositoryRecord &record : asked)
        (withoutAnswer.contains(record.id()) ? unanswered : repositories).append(record);
    // Most users have one identity: its list is moved, not copied.
    if (deployments.isEmpty())
        deployments = std::move(result.deployments);
    else
        deployments += std::move(result.deployments);
}

void FetchedDeployments::dropUnmonitored(const RefreshContext &context)
{
    const auto listed = context.listedIdentities();
    succeeded &= listed;
    QSet<QString> monitored;
    for (const auto &record : context.installations->monitoredRepositories()) {
        if (listed.contains(record.identityID))
            monitored.insert(record.id());
    }
    const auto isMonitored = [&](const RepositoryRecord &record) {
        return monitored.contains(record.id());
    };
    const auto firstDropped = std::stable_partition(repositories.begin(), repositories.end(), isMonitored);
    if (firstDropped == repositories.end())
        return;
    unmonitored = QList<RepositoryRecord>(firstDropped, repositories.end());
    repositories.erase(firstDropped, repositories.end());
    const RepositoryIndex index(unmonitored);
    deployments.removeIf([&](const DeploymentSnapshot &deployment) { return index.find(deployment) != nullptr; });
}

} // namespace velmora
