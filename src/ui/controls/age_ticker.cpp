// SPDX-License-Identifier: MIT
#include "ui/controls/age_ticker.h"

#include "support/clock.h"

#include <QPointer>

#include <algorithm>

namespace velmora
{

using namespace std::chrono_literals;

AgeTicker::AgeTicker(Clock *clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
}

void AgeTicker::waitFor(std::optional<Instant> due)
{
    if (due == m_due)
        return;
    m_wait.cancelAll();
    m_due = due;
    if (!due)
        return;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - m_clock->now());
    m_wait.launch(wait(std::clamp<std::chrono::milliseconds>(left, 1ms, 60s), m_wait.stopToken()), "Ages");
}

QCoro::Task<> AgeTicker::wait(std::chrono::milliseconds duration, std::stop_token stop)
{
    const QPointer<AgeTicker> self(this);
    co_await m_clock->sleep(duration, stop);
    if (!self)
        co_return;
    m_due.reset();
    Q_EMIT ticked();
}

} // namespace velmora
