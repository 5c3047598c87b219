// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"

#include <QObject>

#include <chrono>
#include <functional>

namespace velmora
{

/// A clock that notices, whenever a sleep on it ends, that the wall clock has run ahead of the monotonic clock: the
/// machine was suspended. Costs no timer of its own, and tells before whoever slept goes on.
class ClockJumpWatch final : public QObject, public Clock
{
    Q_OBJECT

public:
    using Monotonic = std::function<std::chrono::steady_clock::time_point()>;

    /// Less than this is the doing of whoever keeps the clock right.
    static constexpr std::chrono::seconds kSmallestJump{10};

    /// The clock is not owned and outlives the watch. `monotonic` does not advance while the machine sleeps.
    explicit ClockJumpWatch(
        Clock *clock, Monotonic monotonic = &std::chrono::steady_clock::now, QObject *parent = nullptr);

    [[nodiscard]] Instant now() const override { return m_clock->now(); }
    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;

Q_SIGNALS:
    /// The wall clock jumped forward; once for each jump. A clock that was set back is no awakening.
    void jumped();

private:
    void compare();

    Clock *m_clock;
    Monotonic m_monotonic;
    Instant m_lastWall;
    std::chrono::steady_clock::time_point m_lastMonotonic;
};

} // namespace velmora
