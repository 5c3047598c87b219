// SPDX-License-Identifier: MIT
#include "monitor/polling_loop.h"

#include "monitor/polling_schedule.h"

#include <QPointer>

namespace velmora
{

PollingLoop::PollingLoop(Clock *clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
}

void PollingLoop::start(FirstTick firstTick, Work prepare, Work tick)
{
    m_scope.launch(run(firstTick, std::move(prepare), std::move(tick)), "Polling deployments");
}

QCoro::Task<> PollingLoop::run(FirstTick firstTick, Work prepare, Work tick)
{
    const QPointer<PollingLoop> self(this);
    const std::stop_token stop = m_scope.stopToken();
    Clock *const clock = m_clock;
    co_await prepare();
    if (!self)
        co_return;
    if (firstTick == FirstTick::AtOnce)
        co_await tick();
    while (self) {
        co_await clock->sleep(kTickInterval, stop);
        if (self)
            co_await tick();
    }
}

} // namespace velmora
