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

QCoro::Task<> ObservedNotifier::notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    Q_EMIT posted(deploymentNotification(deployment, kind));
    return m_notifier->notify(std::move(deployment), kind);
}

QCoro::Task<> ObservedNotifier::notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind)
{
    if (!deployments.isEmpty())
        Q_EMIT posted(deploymentNotification(deployments, kind));
    return m_notifier->notifyGroup(std::move(deployments), kind);
}

} // namespace velmora
