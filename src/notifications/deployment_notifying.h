// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "notifications/deployment_notification_kind.h"

#include <QCoroTask>

#include <stop_token>
#include <utility>

namespace velmora
{

/// Notifies the user of what has become of a deployment. All operations may throw; untilReady() throws only
/// CancellationError.
class DeploymentNotifying
{
public:
    virtual ~DeploymentNotifying() = default;

    /// Whether notifications may be shown. Asks the user at most once.
    [[nodiscard]] virtual QCoro::Task<bool> requestAuthorizationIfNeeded() = 0;
    /// Ends when a notification can be posted without a long wait: at once, unless the receiver did not answer the last
    /// call. A stop ends it with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<> untilReady(std::stop_token stop) = 0;
    /// Posts the notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) = 0;
    /// Posts one notification for all of the deployments. A click on it opens the window. A single deployment gets the
    /// notification of notify(); an empty list gets none.
    [[nodiscard]] virtual QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) = 0;

    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment)
    {
        return notify(std::move(deployment), DeploymentNotificationKind::Failure);
    }
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment)
    {
        return notify(std::move(deployment), DeploymentNotificationKind::Success);
    }
};

} // namespace velmora
