// SPDX-License-Identifier: MIT
#include "simulator/story.h"

namespace velmora::simulator
{

Story::Story(World *world, Random *random, QUrl web)
    : m_world(world)
    , m_random(random)
    , m_web(std::move(web))
{
    schedule(1'000, {});
}

void Story::advance(Milliseconds elapsed, Milliseconds now, double speed)
{
    const Milliseconds target = m_time + elapsed;
    while (!m_events.empty() && m_events.begin()->first <= target) {
        const auto node = m_events.extract(m_events.begin());
        m_time = node.key();
        happen(node.mapped(), m_time, now - Milliseconds(double(target - m_time) / speed));
    }
    m_time = target;
}

void Story::happen(const Event &event, Milliseconds at, Milliseconds now)
{
    if (!event.script)
        return beginOne(at, now);
    const auto &steps = event.script->steps;
    applyStep(*m_world, *event.script, event.deployment, steps[event.step], now);
    const int next = event.step + 1;
    if (next == steps.size()) {
        --m_underWay;
        return;
    }
    schedule(at + steps[next].after, {event.script, event.deployment, next});
}

void Story::beginOne(Milliseconds at, Milliseconds now)
{
    schedule(at + m_random->between(4'000, 25'000), {});
    if (m_underWay >= kMostUnderWay || m_world->repositories().isEmpty() || m_world->identities().isEmpty())
        return;
    const int repository = int(m_random->between(0, m_world->repositories().size() - 1));
    const auto script = std::make_shared<Script>(makeScript(*m_random, *m_world, repository, m_web));
    const QString id = beginDeployment(*m_world, *script, now);
    ++m_underWay;
    schedule(at + script->steps.first().after, {script, id, 0});
}

} // namespace velmora::simulator
