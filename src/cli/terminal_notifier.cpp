// SPDX-License-Identifier: MIT
#include "cli/terminal_notifier.h"

namespace velmora
{

QCoro::Task<bool> TerminalNotifier::requestAuthorizationIfNeeded()
{
    co_return true;
}

QCoro::Task<> TerminalNotifier::notifyFailure(DeploymentSnapshot deployment)
{
    Q_EMIT posted(deploymentNotification(deployment, DeploymentNotificationKind::Failure));
    co_return;
}

QCoro::Task<> TerminalNotifier::notifySuccess(DeploymentSnapshot deployment)
{
    Q_EMIT posted(deploymentNotification(deployment, DeploymentNotificationKind::Success));
    co_return;
}

} // namespace velmora
