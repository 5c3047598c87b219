// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QCoroTask>

namespace velmora
{

/// Which result a notification is about.
enum class DeploymentNotificationKind {
    Failure,
    Success,
};

/// Tells the person how a deployment ended. All operations may throw.
class DeploymentNotifying
{
public:
    virtual ~DeploymentNotifying() = default;

    /// Whether notifications may be shown; asks the person only the first time.
    [[nodiscard]] virtual QCoro::Task<bool> requestAuthorizationIfNeeded() = 0;
    /// Posts the failure notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) = 0;
    /// Posts the success notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) = 0;
};

} // namespace velmora
