// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QList>

#include <chrono>
#include <functional>
#include <map>

namespace velmora::testing
{

/// The times of a simulated month. The true time only runs forward. The machine's clock may be wrong by a skew, and its
/// monotonic time stands still while it is suspended. Time passes only in step() and suspend().
class MonthClock final : public Clock
{
public:
    using Duration = std::chrono::microseconds;
    using Event = std::function<void()>;

    /// The time in which a body must bring 1 KiB.
    static constexpr std::chrono::milliseconds kBodyPause = std::chrono::seconds(30);

    explicit MonthClock(Instant start)
        : m_start(start)
        , m_truth(start)
    {
    }

    [[nodiscard]] Instant now() const override { return m_truth + m_skew; }
    [[nodiscard]] Instant truth() const { return m_truth; }
    [[nodiscard]] std::chrono::steady_clock::time_point monotonic() const
    {
        return std::chrono::steady_clock::time_point(awake());
    }
    /// How long the machine has been awake.
    [[nodiscard]] Duration awake() const { return m_truth - m_start - m_suspended; }
    [[nodiscard]] Duration skew() const { return m_skew; }
    /// How often anything has begun to sleep for kBodyPause.
    [[nodiscard]] qint64 bodyWatches() const { return m_bodyWatches; }

    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override
    {
        if (stop.stop_requested())
            throw CancellationError();
        if (duration == kBodyPause)
            ++m_bodyWatches;
        const OneShot<> done;
        const auto wake = [done] {
            done.resolve();
        };
        onMachine(duration, wake);
        m_sleeps.removeIf([](const OneShot<> &sleep) { return sleep.isSettled(); });
        m_sleeps.append(done);
        const std::stop_callback onStop(stop, wake);
        co_await done;
        if (stop.stop_requested())
            throw CancellationError();
    }

    /// Happens after this time in the world, whether the machine sleeps or not.
    void inWorld(Duration after, Event event) { m_world.emplace(m_truth + after, std::move(event)); }
    /// Happens when the machine has been awake for this time.
    void onMachine(Duration after, Event event) { m_machine.emplace(awake() + after, std::move(event)); }

    /// Moves the time to the next event and has it happen; or to `latest`, and returns false.
    bool step(Instant latest)
    {
        const Instant world = m_world.empty() ? Instant::max() : m_world.begin()->first;
        const Instant machine = m_machine.empty() ? Instant::max() : m_start + m_suspended + m_machine.begin()->first;
        const Instant next = std::min(world, machine);
        m_truth = std::max(m_truth, std::min(next, latest));
        if (next > latest)
            return false;
        if (world <= machine)
            take(m_world);
        else
            take(m_machine);
        return true;
    }

    /// The machine sleeps, while the world goes on.
    void suspend(Duration duration)
    {
        const Instant end = m_truth + duration;
        while (!m_world.empty() && m_world.begin()->first <= end) {
            const Instant next = std::max(m_truth, m_world.begin()->first);
            m_suspended += next - m_truth;
            m_truth = next;
            take(m_world);
        }
        m_suspended += end - m_truth;
        m_truth = end;
    }

    /// Ends every sleep, for the end of a test.
    void wakeAll()
    {
        const auto sleeps = std::exchange(m_sleeps, {});
        for (const OneShot<> &sleep : sleeps)
            sleep.resolve();
    }

    /// Sets the machine's clock wrong by this, or right with 0.
    void setSkew(Duration skew) { m_skew = skew; }

private:
    template <typename Events>
    static void take(Events &events)
    {
        const Event event = std::move(events.begin()->second);
        events.erase(events.begin());
        event();
    }

    Instant m_start;
    Instant m_truth;
    Duration m_skew{0};
    Duration m_suspended{0};
    std::multimap<Instant, Event> m_world;
    std::multimap<Duration, Event> m_machine;
    QList<OneShot<>> m_sleeps;
    qint64 m_bodyWatches = 0;
};

} // namespace velmora::testing
