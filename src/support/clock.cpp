// SPDX-License-Identifier: MIT
#include "support/clock.h"

#include "support/task_scope.h"
#include "support/with_deadline.h"

#include <algorithm>
#include <limits>

namespace velmora
{

using namespace std::chrono;

Instant SystemClock::now() const
{
    return floor<microseconds>(system_clock::now());
}

QCoro::Task<> SystemClock::sleep(milliseconds duration, std::stop_token stop)
{
    throwIfStopped(stop);
    // GitHub slows down clients that poll too early, and withDeadline() never ends early.
    const OneShot<> never;
    const QDeadlineTimer end(std::clamp(duration, milliseconds(0), milliseconds(std::numeric_limits<int>::max())));
    co_await withDeadline(never, end, stop);
    throwIfStopped(stop);
}

} // namespace velmora
