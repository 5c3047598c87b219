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

QCoro::Task<> BackgroundNotifier::untilReady(std::stop_token)
{
    co_return;
}

QCoro::Task<> BackgroundNotifier::notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    const DeploymentList alone{std::move(deployment)};
    return notifyGroup(alone, kind);
}

QCoro::Task<> BackgroundNotifier::notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind)
{
    if (m_notifier)
        m_deliveries.launch(deliver(deployments, kind), "Announcing results");
    co_return;
}

QCoro::Task<> BackgroundNotifier::deliver(DeploymentList deployments, DeploymentNotificationKind kind)
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
        co_await notifier->notifyGroup(deployments, kind);
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
