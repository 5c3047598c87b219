// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "support/one_shot.h"

#include <QList>

#include <optional>

namespace velmora::testing
{

/// Answers requests for permission when the test says so.
class AskedNotifier final : public DeploymentNotifying
{
public:
    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override
    {
        const OneShot<bool> answer;
        questions.append(answer);
        if (immediate)
            answer.resolve(*immediate);
        if (immediateFailure)
            answer.fail(immediateFailure);
        const bool isGranted = co_await answer;
        co_return isGranted;
    }
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token) override { co_return; }
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot, DeploymentNotificationKind) override { co_return; }

    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList, DeploymentNotificationKind) override { co_return; }

    QList<OneShot<bool>> questions;
    std::optional<bool> immediate;
    std::exception_ptr immediateFailure;
};

} // namespace velmora::testing
