// SPDX-License-Identifier: MIT
#include "model/deployment_snapshot.h"

namespace velmora
{

bool hasLogPage(const DeploymentSnapshot &deployment)
{
    return deployment.logURL && deployment.logURL->isOpenable();
}

WebAddress detailsURL(const DeploymentSnapshot &deployment)
{
    if (hasLogPage(deployment))
        return *deployment.logURL;
    return deployment.repositoryURL.appendingPathComponent(QStringLiteral("deployments"));
}

QString resultKey(const DeploymentSnapshot &deployment)
{
    return deployment.id + QLatin1Char(':') + rawValue(deployment.state);
}

} // namespace velmora
