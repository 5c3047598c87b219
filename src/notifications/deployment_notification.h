// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"

#include <QString>

namespace velmora
{

/// What a notification says, before any desktop has its way with it.
struct DeploymentNotification {
    QString title;
    QString subtitle;
    QString body;
    WebAddress url; ///< what a click opens
    QString identifier; ///< the same for the same result: a repeated post replaces

    friend bool operator==(const DeploymentNotification &, const DeploymentNotification &) = default;
};

/// The notification that announces the result of the deployment.
[[nodiscard]] DeploymentNotification deploymentNotification(
    const DeploymentSnapshot &deployment, DeploymentNotificationKind kind);

} // namespace velmora
