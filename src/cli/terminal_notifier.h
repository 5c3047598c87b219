// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"
#include "support/async_mutex.h"
#include "support/task_scope.h"

#include <QObject>

namespace velmora
{

/// Announces results in the terminal, through posted(), and then on the desktop if there is one.
///
/// requestAuthorizationIfNeeded() always succeeds, because the terminal needs no permission. A desktop that refuses or
/// fails therefore never suppresses a line in the terminal. The desktop gets one result at a time, and nothing waits
/// for it.
class TerminalNotifier final : public QObject, public DeploymentNotifying
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Announces further results on the desktop, too. `desktop` is not owned and outlives the notifier; null stops
    /// that.
    void setDesktop(DeploymentNotifying *desktop);

    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    /// The terminal is always ready.
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) override;
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) override;

Q_SIGNALS:
    void posted(const velmora::DeploymentNotification &notification);
    /// The desktop refused a notification. The same reason is not repeated until it has accepted one.
    void desktopFailed(const QString &description);

private:
    QCoro::Task<> announce(DeploymentSnapshot deployment, DeploymentNotificationKind kind);
    QCoro::Task<> deliver(DeploymentSnapshot deployment, DeploymentNotificationKind kind);
    void noteFailure(const QString &description);

    DeploymentNotifying *m_desktop = nullptr;
    QString m_failure; ///< why the latest notification was refused; empty if it was accepted
    AsyncMutex m_turn; ///< held while the desktop handles a result
    TaskScope m_deliveries;
};

} // namespace velmora
