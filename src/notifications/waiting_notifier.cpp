// SPDX-License-Identifier: MIT
#include "notifications/waiting_notifier.h"

#include "support/cancel_on_stop.h"
#include "support/one_shot.h"

namespace velmora
{

QCoro::Task<bool> WaitingNotifier::requestAuthorizationIfNeeded()
{
    co_return true;
}

QCoro::Task<> WaitingNotifier::untilReady(std::stop_token stop)
{
    const OneShot<> never;
    const CancelOnStop<> onStop(never, stop);
    co_await never;
}

QCoro::Task<> WaitingNotifier::notify(DeploymentSnapshot, DeploymentNotificationKind)
{
    co_return;
}

QCoro::Task<> WaitingNotifier::notifyGroup(DeploymentList, DeploymentNotificationKind)
{
    co_return;
}

} // namespace velmora
