// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QCoroTask>

#include <stop_token>

namespace velmora
{

/// Which result a notification is about.
enum class DeploymentNotificationKind {
    Failure,
    Success,
};

/// Tells the person how a deployment ended. All operations may throw; untilReady() throws a cancellation and nothing
/// else.
class DeploymentNotifying
{
public:
    virtual ~DeploymentNotifying() = default;

    /// Whether notifications may be shown; asks the person only the first time.
    [[nodiscard]] virtual QCoro::Task<bool> requestAuthorizationIfNeeded() = 0;
    /// Ends when a notification can be posted without waiting for long: at once, unless what takes it kept the last
    /// one waiting. A stop ends it with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<> untilReady(std::stop_token stop) = 0;
    /// Posts the failure notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) = 0;
    /// Posts the success notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) = 0;
};

} // namespace velmora
