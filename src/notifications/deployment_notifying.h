// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QCoroTask>

#include <stop_token>

namespace velmora
{

/// The result that a notification announces.
enum class DeploymentNotificationKind {
    Failure,
    Success,
};

/// Notifies the user of the result of a deployment. All operations may throw; untilReady() throws only
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
    /// Posts the failure notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) = 0;
    /// Posts the success notification of the deployment.
    [[nodiscard]] virtual QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) = 0;
};

} // namespace velmora
