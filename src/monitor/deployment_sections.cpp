// SPDX-License-Identifier: MIT
#include "monitor/deployment_sections.h"

#include "support/relative_time.h"

namespace velmora
{

QList<DeploymentSection> deploymentSections(const QList<DeploymentSnapshot> &deployments)
{
    DeploymentSection active{QStringLiteral("In progress"), {}};
    DeploymentSection failed{QStringLiteral("Failed"), {}};
    DeploymentSection completed{QStringLiteral("Completed"), {}};
    for (const auto &deployment : deployments) {
        if (isActive(deployment.state))
            active.deployments.append(deployment);
        else if (isFailure(deployment.state))
            failed.deployments.append(deployment);
        else
            completed.deployments.append(deployment);
    }
    QList<DeploymentSection> sections;
    for (const auto &section : {active, failed, completed}) {
        if (!section.deployments.isEmpty())
            sections.append(section);
    }
    return sections;
}

QString shortCommit(const DeploymentSnapshot &deployment)
{
    return deployment.commitOID.left(7);
}

QStringList deploymentDetails(const DeploymentSnapshot &deployment, Instant now)
{
    QStringList details;
    if (deployment.refName)
        details.append(*deployment.refName);
    details.append(shortCommit(deployment));
    details.append(relativeTime(deployment.updatedAt, now));
    return details;
}

} // namespace velmora
