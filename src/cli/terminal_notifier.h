// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"

#include <QObject>

namespace velmora
{

/// Announces results to whoever shows them in the terminal. Always allowed.
class TerminalNotifier final : public QObject, public DeploymentNotifying
{
    Q_OBJECT

public:
    using QObject::QObject;

    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) override;
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) override;

Q_SIGNALS:
    void posted(const velmora::DeploymentNotification &notification);
};

} // namespace velmora
