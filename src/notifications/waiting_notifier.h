// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"

namespace velmora
{

/// Of a program that ends with its answer, and has nobody to announce anything to: it is never ready, so that what it
/// found waits for a Velmora that goes on.
class WaitingNotifier final : public DeploymentNotifying
{
public:
    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) override;
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) override;
};

} // namespace velmora
