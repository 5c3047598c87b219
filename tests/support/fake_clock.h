// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QList>

#include <algorithm>

namespace velmora::testing
{

/// A clock that moves only when told to. advance() ends sleeps in the order of their ends; a stop ends a sleep at once.
class FakeClock final : public Clock
{
public:
    explicit FakeClock(Instant start = Instant(std::chrono::sys_days(std::chrono::year(2026) / 5 / 1)))
        : m_now(start)
    {
    }

    [[nodiscard]] Instant now() const override { return m_now; }

    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override
    {
        if (stop.stop_requested())
            throw CancellationError();
        requestedSleeps.append(duration);
        const OneShot<> done;
        m_sleepers.append({m_now + duration, duration, done});
        const auto interrupt = [done] {
            done.resolve();
        };
        const std::stop_callback onStop(stop, interrupt);
        co_await done;
        if (stop.stop_requested())
            throw CancellationError();
    }

    /// Moves the time forward; wakes each sleeper on the way at its time.
    void advance(std::chrono::microseconds duration)
    {
        const Instant end = m_now + duration;
        while (wakeNext(end)) { }
        m_now = end;
    }

    /// Moves the time to the end of the next sleep and wakes it; false if no sleep ends by `latest`.
    bool advanceToNextWake(Instant latest = Instant::max()) { return wakeNext(latest); }

    /// Ends all sleeps without moving the time, as if the wall clock had been set back.
    void wakeAll()
    {
        const auto sleepers = std::exchange(m_sleepers, {});
        for (const auto &sleeper : sleepers)
            sleeper.done.resolve();
    }

    /// Sets the wall clock without waking sleepers.
    void setNow(Instant now) { m_now = now; }

    [[nodiscard]] qsizetype sleeperCount() const
    {
        return std::ranges::count_if(m_sleepers, [](const Sleeper &sleeper) { return !sleeper.done.isSettled(); });
    }

    /// Whether a sleep of exactly this duration is under way.
    [[nodiscard]] bool isSleeping(std::chrono::milliseconds duration) const
    {
        return std::ranges::any_of(m_sleepers,
            [duration](const Sleeper &sleeper) { return sleeper.duration == duration && !sleeper.done.isSettled(); });
    }

    /// The durations of all sleeps, in order.
    QList<std::chrono::milliseconds> requestedSleeps;

private:
    struct Sleeper {
        Instant end;
        std::chrono::milliseconds duration;
        OneShot<> done;
    };

    bool wakeNext(Instant latest)
    {
        m_sleepers.removeIf([](const Sleeper &sleeper) { return sleeper.done.isSettled(); });
        const auto next = std::ranges::min_element(m_sleepers, {}, &Sleeper::end);
        if (next == m_sleepers.end() || next->end > latest)
            return false;
        const Sleeper sleeper = *next;
        m_sleepers.erase(next);
        m_now = std::max(m_now, sleeper.end);
        sleeper.done.resolve();
        return true;
    }

    Instant m_now;
    QList<Sleeper> m_sleepers;
};

} // namespace velmora::testing
