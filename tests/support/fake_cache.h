// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_cache.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <functional>
#include <stdexcept>

namespace velmora::testing
{

/// Keeps the payload in memory and counts the saves.
class FakeCache final : public DeploymentCaching
{
public:
    [[nodiscard]] QCoro::Task<> save(DeploymentCachePayload saved) override
    {
        ++saves;
        if (onSave)
            onSave();
        if (fails)
            throw FileError(QStringLiteral("the disk is full"));
        payload = std::move(saved);
        co_return;
    }

    [[nodiscard]] QCoro::Task<std::optional<DeploymentCachePayload>> load() override
    {
        if (gate) {
            const OneShot<> opened = *gate;
            co_await opened;
        }
        if (failedLoads > 0) {
            --failedLoads;
            throw std::runtime_error("out of order");
        }
        auto loaded = payload;
        co_return loaded;
    }

    std::optional<DeploymentCachePayload> payload;
    int saves = 0;
    bool fails = false;
    std::function<void()> onSave; ///< called before a list is saved
    int failedLoads = 0; ///< the number of loads that throw an exception that is not an Error
    std::optional<OneShot<>> gate; ///< loading waits for it
};

} // namespace velmora::testing
