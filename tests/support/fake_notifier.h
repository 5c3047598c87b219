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

/// Records announcements as "failure ID", "success ID" and "waiting ID", in order, those of a group as "failure ID ID".
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
        co_await announce(word(kind) + deployment.id);
    }
    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) override
    {
        if (deployments.isEmpty())
            co_return;
        QStringList ids;
        for (const DeploymentSnapshot &deployment : std::as_const(deployments))
            ids.append(deployment.id);
        co_await announce(word(kind) + ids.join(QLatin1Char(' ')));
    }

    QStringList announced;
    bool fails = false; ///< every announcement throws after it was recorded
    std::optional<OneShot<>> busy; ///< not ready until this is settled
    std::optional<OneShot<>> gate; ///< announcements wait for it

private:
    static QString word(DeploymentNotificationKind kind)
    {
        constexpr std::array kWords{"failure ", "success ", "waiting "};
        return QString::fromLatin1(kWords.at(static_cast<std::size_t>(kind)));
    }

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
