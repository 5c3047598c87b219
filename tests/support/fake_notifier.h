// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "support/cancel_on_stop.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QStringList>

#include <optional>

namespace velmora::testing
{

/// Records announcements as "failure ID" and "success ID", in order.
class FakeNotifier final : public DeploymentNotifying
{
public:
    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override { co_return true; }

    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override
    {
        if (busy) {
            const OneShot<> ready = *busy;
            const CancelOnStop<> onStop(ready, stop);
            co_await ready;
        }
    }
    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) override
    {
        co_await announce(QStringLiteral("failure ") + deployment.id);
    }
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) override
    {
        co_await announce(QStringLiteral("success ") + deployment.id);
    }

    QStringList announced;
    bool fails = false; ///< every announcement throws after it was recorded
    std::optional<OneShot<>> busy; ///< not ready until this is settled
    std::optional<OneShot<>> gate; ///< announcements wait for it

private:
    QCoro::Task<> announce(QString text)
    {
        announced.append(text);
        if (gate) {
            const OneShot<> opened = *gate;
            co_await opened;
        }
        if (fails)
            throw FileError(QStringLiteral("the notifier fails"));
    }
};

} // namespace velmora::testing
