// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"

#include <QObject>

#include <chrono>
#include <functional>

namespace velmora
{

/// A clock that detects when the machine was suspended: at the end of each sleep it checks whether the wall clock has
/// run ahead of the monotonic clock. Uses no timer of its own. Emits jumped() before the sleeping coroutine resumes.
class ClockJumpWatch final : public QObject, public Clock
{
    Q_OBJECT

public:
    using Monotonic = std::function<std::chrono::steady_clock::time_point()>;

    /// Smaller jumps are corrections of the clock.
    static constexpr std::chrono::seconds kSmallestJump{10};

    /// The clock is not owned and outlives the watch. `monotonic` must not advance while the machine is suspended.
    explicit ClockJumpWatch(
        Clock *clock, Monotonic monotonic = &std::chrono::steady_clock::now, QObject *parent = nullptr);

    [[nodiscard]] Instant now() const override { return m_clock->now(); }
    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;

Q_SIGNALS:
    /// The wall clock jumped forward. Emitted once for each jump, never for a clock that was set back.
    void jumped();

private:
    void compare();

    Clock *m_clock;
    Monotonic m_monotonic;
    Instant m_lastWall;
    std::chrono::steady_clock::time_point m_lastMonotonic;
};

} // namespace velmora
