// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"

#include <QObject>

namespace velmora
{

/// Forwards everything to another notifier and emits posted() for each notification, even if the other notifier fails.
class ObservedNotifier final : public QObject, public DeploymentNotifying
{
    Q_OBJECT

public:
    /// `notifier` is not owned and outlives this object.
    explicit ObservedNotifier(DeploymentNotifying *notifier, QObject *parent = nullptr);

    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) override;
    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) override;

Q_SIGNALS:
    void posted(const velmora::DeploymentNotification &notification);

private:
    DeploymentNotifying *m_notifier;
};

} // namespace velmora
