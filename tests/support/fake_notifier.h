// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "support/cancel_on_stop.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QStringList>

#include <array>
#include <optional>

namespace velmora::testing
{

/// Records announcements as "failure ID", "success ID" and "waiting ID", in order.
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
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) override
    {
        constexpr std::array kWords{"failure ", "success ", "waiting "};
        co_await announce(QString::fromLatin1(kWords.at(static_cast<std::size_t>(kind))) + deployment.id);
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
