// SPDX-License-Identifier: MIT
#include "notifications/background_notifier.h"

#include "support/error.h"

#include <QPointer>

#include <utility>

namespace velmora
{

BackgroundNotifier::BackgroundNotifier(DeploymentNotifying *notifier, QObject *parent)
    : QObject(parent)
    , m_notifier(notifier)
{
}

QCoro::Task<bool> BackgroundNotifier::requestAuthorizationIfNeeded()
{
    co_return true;
}

QCoro::Task<> BackgroundNotifier::notifyFailure(DeploymentSnapshot deployment)
{
    return launchDelivery(std::move(deployment), DeploymentNotificationKind::Failure);
}

QCoro::Task<> BackgroundNotifier::notifySuccess(DeploymentSnapshot deployment)
{
    return launchDelivery(std::move(deployment), DeploymentNotificationKind::Success);
}

QCoro::Task<> BackgroundNotifier::untilReady(std::stop_token)
{
    co_return;
}

QCoro::Task<> BackgroundNotifier::launchDelivery(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    if (m_notifier)
        m_deliveries.launch(deliver(deployment, kind), "Announcing a result");
    co_return;
}

QCoro::Task<> BackgroundNotifier::deliver(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    const QPointer<BackgroundNotifier> self(this);
    const std::stop_token stop = m_deliveries.stopToken();
    DeploymentNotifying *const notifier = m_notifier;
    const auto turn = co_await m_turn.lock(stop);
    throwIfStopped(stop);
    co_await notifier->untilReady(stop);
    throwIfStopped(stop);
    QString failure;
    try {
        if (kind == DeploymentNotificationKind::Failure)
            co_await notifier->notifyFailure(deployment);
        else
            co_await notifier->notifySuccess(deployment);
    } catch (const Error &error) {
        failure = error.description();
    }
    if (self)
        recordFailure(failure);
}

void BackgroundNotifier::recordFailure(const QString &description)
{
    if (std::exchange(m_failure, description) != description && !description.isEmpty())
        Q_EMIT failed(description);
}

} // namespace velmora
