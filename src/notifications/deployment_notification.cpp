// SPDX-License-Identifier: MIT
#include "notifications/deployment_notification.h"

namespace velmora
{

namespace
{

struct Words {
    QString outcome; ///< follows the repository
    QString fallback; ///< stands for the description of the deployment
};

Words wordsFor(DeploymentNotificationKind kind)
{
    switch (kind) {
    case DeploymentNotificationKind::Failure:
        return {QStringLiteral(" failed"), QStringLiteral("The deployment did not complete successfully.")};
    case DeploymentNotificationKind::Success:
        return {QStringLiteral(" deployed"), QStringLiteral("The deployment completed successfully.")};
    case DeploymentNotificationKind::Waiting:
        return {QStringLiteral(" waits for approval"), QStringLiteral("The deployment goes on once it is approved.")};
    }
    Q_UNREACHABLE();
}

} // namespace

DeploymentNotification deploymentNotification(const DeploymentSnapshot &deployment, DeploymentNotificationKind kind)
{
    const Words words = wordsFor(kind);
    return DeploymentNotification{
        .title = deployment.repositoryName + words.outcome,
        .subtitle = deployment.environment,
        .body = deployment.statusDescription.value_or(words.fallback),
        .url = detailsURL(deployment),
        .identifier = resultKey(deployment),
    };
}

} // namespace velmora
