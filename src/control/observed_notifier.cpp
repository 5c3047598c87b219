// SPDX-License-Identifier: MIT
#include "control/observed_notifier.h"

namespace velmora
{

ObservedNotifier::ObservedNotifier(DeploymentNotifying *notifier, QObject *parent)
    : QObject(parent)
    , m_notifier(notifier)
{
}

QCoro::Task<bool> ObservedNotifier::requestAuthorizationIfNeeded()
{
    return m_notifier->requestAuthorizationIfNeeded();
}

QCoro::Task<> ObservedNotifier::untilReady(std::stop_token stop)
{
    return m_notifier->untilReady(std::move(stop));
}

QCoro::Task<> ObservedNotifier::notifyFailure(DeploymentSnapshot deployment)
{
    Q_EMIT posted(deploymentNotification(deployment, DeploymentNotificationKind::Failure));
    return m_notifier->notifyFailure(std::move(deployment));
}

QCoro::Task<> ObservedNotifier::notifySuccess(DeploymentSnapshot deployment)
{
    Q_EMIT posted(deploymentNotification(deployment, DeploymentNotificationKind::Success));
    return m_notifier->notifySuccess(std::move(deployment));
}

} // namespace velmora
