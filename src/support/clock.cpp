// SPDX-License-Identifier: MIT
#include "support/clock.h"

#include "support/error.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QTimer>

#include <algorithm>
#include <limits>

namespace velmora
{

using namespace std::chrono;

Instant SystemClock::now() const
{
    return floor<microseconds>(system_clock::now());
}

namespace
{

/// What one timer can do: not less than nothing, not more than 24 days.
milliseconds timerDuration(milliseconds duration)
{
    return std::clamp(duration, milliseconds(0), milliseconds(std::numeric_limits<int>::max()));
}

} // namespace

QCoro::Task<> SystemClock::sleep(milliseconds duration, std::stop_token stop)
{
    throwIfStopped(stop);
    const OneShot<> done;
    QTimer timer;
    timer.setSingleShot(true);
    // The other kinds may end a twentieth too early, and GitHub slows down whoever asks before the time.
    timer.setTimerType(Qt::PreciseTimer);
    const auto wake = [done] {
        done.resolve();
    };
    QObject::connect(&timer, &QTimer::timeout, &timer, wake);
    // The stop may be requested from anywhere, a destructor included: resume from the event loop, not there.
    const auto interrupt = [&timer] {
        timer.start(0);
    };
    const std::stop_callback onStop(stop, interrupt);
    timer.start(timerDuration(duration));
    co_await done;
    throwIfStopped(stop);
}

} // namespace velmora
