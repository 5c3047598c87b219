// SPDX-License-Identifier: MIT
#include "platform/clock_jump_watch.h"

#include <QPointer>

namespace velmora
{

ClockJumpWatch::ClockJumpWatch(Clock *clock, Monotonic monotonic, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_monotonic(std::move(monotonic))
    , m_lastWall(m_clock->now())
    , m_lastMonotonic(m_monotonic())
{
}

QCoro::Task<> ClockJumpWatch::sleep(std::chrono::milliseconds duration, std::stop_token stop)
{
    const QPointer<ClockJumpWatch> self(this);
    co_await m_clock->sleep(duration, stop);
    if (self)
        compare();
}

void ClockJumpWatch::compare()
{
    const Instant wall = m_clock->now();
    const auto monotonic = m_monotonic();
    const auto ahead = (wall - m_lastWall) - (monotonic - m_lastMonotonic);
    m_lastWall = wall;
    m_lastMonotonic = monotonic;
    if (ahead >= kSmallestJump)
        Q_EMIT jumped();
}

} // namespace velmora
