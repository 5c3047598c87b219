// SPDX-License-Identifier: MIT
#include "cli/terminal_notifier.h"

#include "support/error.h"

#include <QPointer>

#include <utility>

namespace velmora
{

QCoro::Task<bool> TerminalNotifier::requestAuthorizationIfNeeded()
{
    co_return true;
}

QCoro::Task<> TerminalNotifier::notifyFailure(DeploymentSnapshot deployment)
{
    return announce(std::move(deployment), DeploymentNotificationKind::Failure);
}

QCoro::Task<> TerminalNotifier::notifySuccess(DeploymentSnapshot deployment)
{
    return announce(std::move(deployment), DeploymentNotificationKind::Success);
}

QCoro::Task<> TerminalNotifier::announce(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    const QPointer<TerminalNotifier> self(this);
    Q_EMIT posted(deploymentNotification(deployment, kind));
    if (!self || !m_desktop)
        co_return;
    QString failure;
    try {
        if (kind == DeploymentNotificationKind::Failure)
            co_await m_desktop->notifyFailure(deployment);
        else
            co_await m_desktop->notifySuccess(deployment);
    } catch (const Error &error) {
        failure = error.description();
    }
    if (self)
        noteFailure(failure);
}

void TerminalNotifier::noteFailure(const QString &description)
{
    if (std::exchange(m_failure, description) != description && !description.isEmpty())
        Q_EMIT desktopFailed(description);
}

} // namespace velmora
