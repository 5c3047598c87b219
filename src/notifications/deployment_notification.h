// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"

#include <QString>

namespace velmora
{

/// The content of a notification, before adaptation to the desktop.
struct DeploymentNotification {
    QString title;
    QString subtitle;
    QString body;
    WebAddress url; ///< the page that a click opens; empty: a click opens the window
    QString identifier; ///< the same for the same result: a repeated post replaces the earlier one

    friend bool operator==(const DeploymentNotification &, const DeploymentNotification &) = default;
};

/// The notification that announces what has become of the deployment.
[[nodiscard]] DeploymentNotification deploymentNotification(
    const DeploymentSnapshot &deployment, DeploymentNotificationKind kind);

/// The notification that announces all of the deployments together, as a DeploymentGroup. For a single deployment it is
/// the one above. The list is not empty.
[[nodiscard]] DeploymentNotification deploymentNotification(
    const DeploymentList &deployments, DeploymentNotificationKind kind);

} // namespace velmora
