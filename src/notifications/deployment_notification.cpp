// SPDX-License-Identifier: MIT
#include "notifications/deployment_notification.h"

namespace velmora
{

DeploymentNotification deploymentNotification(const DeploymentSnapshot &deployment, DeploymentNotificationKind kind)
{
    const bool isFailed = kind == DeploymentNotificationKind::Failure;
    const QString outcome = isFailed ? QStringLiteral(" failed") : QStringLiteral(" deployed");
    const QString fallback = isFailed ? QStringLiteral("The deployment did not complete successfully.")
                                      : QStringLiteral("The deployment completed successfully.");
    return DeploymentNotification{
        .title = deployment.repositoryName + outcome,
        .subtitle = deployment.environment,
        .body = deployment.statusDescription.value_or(fallback),
        .url = detailsURL(deployment),
        .identifier = resultKey(deployment),
    };
}

} // namespace velmora
