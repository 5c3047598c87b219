// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QCoroTask>

#include <chrono>
#include <stop_token>

namespace velmora
{

/// What time it is, and waiting for it to pass: a port, so that a week can be tested in milliseconds.
/// Outlives everybody who uses it.
class Clock
{
public:
    virtual ~Clock() = default;

    /// The wall clock.
    [[nodiscard]] virtual Instant now() const = 0;

    /// Ends after `duration` on the monotonic clock, or with a CancellationError at once when the stop
    /// is requested before that.
    [[nodiscard]] virtual QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) = 0;
};

/// The machine's clock; sleeps cost one timer each.
class SystemClock final : public Clock
{
public:
    [[nodiscard]] Instant now() const override;
    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;
};

} // namespace velmora
