// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"

namespace velmora
{

/// For a program that ends with its answer and shows no notifications. It is never ready, so the announcements wait for
/// a Velmora that keeps running.
class WaitingNotifier final : public DeploymentNotifying
{
public:
    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) override;
    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) override;
};

} // namespace velmora
