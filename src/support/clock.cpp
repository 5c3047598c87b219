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

/// The duration limited to what a QTimer can take: 0 ms to about 24 days.
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
    // The other timer types may fire 5 % too early, and GitHub slows down clients that poll too early.
    timer.setTimerType(Qt::PreciseTimer);
    const auto wake = [done] {
        done.resolve();
    };
    QObject::connect(&timer, &QTimer::timeout, &timer, wake);
    // The stop may be requested in a destructor: resume from the event loop, not from the callback.
    const auto interrupt = [&timer] {
        timer.start(0);
    };
    const std::stop_callback onStop(stop, interrupt);
    timer.start(timerDuration(duration));
    co_await done;
    throwIfStopped(stop);
}

} // namespace velmora
