// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "support/async_mutex.h"
#include "support/task_scope.h"

#include <QObject>

namespace velmora
{

/// Has another notifier announce the results, one at a time, and never lets the caller wait for it.
///
/// requestAuthorizationIfNeeded() always succeeds and untilReady() returns at once, so a notifier that refuses, fails
/// or is slow suppresses and delays nothing. The end of the object drops what was not delivered yet.
class BackgroundNotifier final : public QObject, public DeploymentNotifying
{
    Q_OBJECT

public:
    /// `notifier` is not owned and outlives this one; null: results are dropped.
    explicit BackgroundNotifier(DeploymentNotifying *notifier, QObject *parent = nullptr);

    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) override;
    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) override;

Q_SIGNALS:
    /// The notifier refused a result. The same reason is not repeated until it has accepted one.
    void failed(const QString &description);

private:
    QCoro::Task<> deliver(DeploymentList deployments, DeploymentNotificationKind kind);
    void recordFailure(const QString &description);

    DeploymentNotifying *m_notifier;
    QString m_failure; ///< why the latest result was refused; empty if it was accepted
    AsyncMutex m_turn; ///< held while the notifier handles a result
    TaskScope m_deliveries;
};

} // namespace velmora
