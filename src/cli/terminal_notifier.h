// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"
#include "support/async_mutex.h"
#include "support/task_scope.h"

#include <QObject>

namespace velmora
{

/// Announces results to whoever shows them in the terminal, and then to the desktop where there is one.
///
/// The terminal is always allowed, so that a desktop that was told to keep quiet takes no line from it. A desktop that
/// fails takes nothing either: the result was announced. The desktop gets one result after the other, and holds up
/// nothing.
class TerminalNotifier final : public QObject, public DeploymentNotifying
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Has the desktop announce every result as well, from now on; not owned, and outlives the notifier. None: only
    /// the terminal does.
    void setDesktop(DeploymentNotifying *desktop);

    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    /// The terminal is always ready.
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) override;
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) override;

Q_SIGNALS:
    void posted(const velmora::DeploymentNotification &notification);
    /// The desktop did not take a notification, and why. Not again for the same reason until one was taken.
    void desktopFailed(const QString &description);

private:
    QCoro::Task<> announce(DeploymentSnapshot deployment, DeploymentNotificationKind kind);
    QCoro::Task<> deliver(DeploymentSnapshot deployment, DeploymentNotificationKind kind);
    void noteFailure(const QString &description);

    DeploymentNotifying *m_desktop = nullptr;
    QString m_failure; ///< of the latest notification; empty when it was taken
    AsyncMutex m_turn; ///< held by the result that the desktop gets
    TaskScope m_deliveries;
};

} // namespace velmora
