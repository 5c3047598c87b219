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

QCoro::Task<> TerminalNotifier::untilReady(std::stop_token)
{
    co_return;
}

void TerminalNotifier::setDesktop(DeploymentNotifying *desktop)
{
    // Pending results were already shown on the terminal, so the old desktop need not get them.
    m_deliveries.cancelAll();
    m_desktop = desktop;
}

QCoro::Task<> TerminalNotifier::announce(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    const QPointer<TerminalNotifier> self(this);
    Q_EMIT posted(deploymentNotification(deployment, kind));
    if (self && m_desktop)
        m_deliveries.launch(deliver(deployment, kind), "Announcing a result on the desktop");
    co_return;
}

QCoro::Task<> TerminalNotifier::deliver(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    const QPointer<TerminalNotifier> self(this);
    const std::stop_token stop = m_deliveries.stopToken();
    DeploymentNotifying *const desktop = m_desktop;
    const auto turn = co_await m_turn.lock(stop);
    throwIfStopped(stop);
    co_await desktop->untilReady(stop);
    throwIfStopped(stop);
    QString failure;
    try {
        if (kind == DeploymentNotificationKind::Failure)
            co_await desktop->notifyFailure(deployment);
        else
            co_await desktop->notifySuccess(deployment);
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
