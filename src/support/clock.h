// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QCoroTask>

#include <chrono>
#include <stop_token>

namespace velmora
{

/// Tells the time and waits for it to pass. A port, so that a test of a week takes milliseconds. Outlives its users.
class Clock
{
public:
    virtual ~Clock() = default;

    /// The wall clock.
    [[nodiscard]] virtual Instant now() const = 0;

    /// Ends after `duration` on the monotonic clock. A stop ends it at once with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) = 0;
};

/// The machine's clock. Each sleep uses one timer.
class SystemClock final : public Clock
{
public:
    [[nodiscard]] Instant now() const override;
    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;
};

} // namespace velmora
