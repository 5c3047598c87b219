// SPDX-License-Identifier: MIT
#include "simulator/story.h"

#include <algorithm>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr Milliseconds kBetweenOutages = 900'000;

/// What the deployments of an outage go through.
const QList<Step> &outageSteps()
{
    static const QList<Step> steps{{1'000, u"QUEUED"_s, std::nullopt}, {3'000, u"IN_PROGRESS"_s, std::nullopt},
        {16'000, u"FAILURE"_s, u"The cluster does not answer"_s}};
    return steps;
}

} // namespace

Story::Story(World *world, Random *random, QUrl web)
    : m_world(world)
    , m_random(random)
    , m_web(std::move(web))
{
    schedule(1'000, {});
    Milliseconds outage = kFirstOutage;
    for (const Step &step : outageSteps())
        outage -= step.after;
    schedule(outage, {nullptr, {}, 0, true});
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
    if (event.isOutage)
        return beginOutage(at, now);
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
    if (m_underWay >= kMostUnderWay - kOutage || m_world->repositories().isEmpty() || m_world->identities().isEmpty())
        return;
    const int repository = int(m_random->between(0, m_world->repositories().size() - 1));
    begin(makeScript(*m_random, *m_world, repository, m_web), at, now);
}

void Story::beginOutage(Milliseconds at, Milliseconds now)
{
    schedule(at + kBetweenOutages, {nullptr, {}, 0, true});
    if (m_world->identities().isEmpty())
        return;
    const int count = std::min<int>(kOutage, int(m_world->repositories().size()));
    for (int repository = 0; repository < count; ++repository) {
        Script script = makeScript(*m_random, *m_world, repository, m_web);
        script.environment = u"staging"_s;
        script.environmentUrl.reset();
        script.steps = outageSteps();
        begin(std::move(script), at, now);
    }
}

void Story::begin(Script script, Milliseconds at, Milliseconds now)
{
    const auto shared = std::make_shared<Script>(std::move(script));
    const QString id = beginDeployment(*m_world, *shared, now);
    ++m_underWay;
    schedule(at + shared->steps.first().after, {shared, id, 0});
}

} // namespace velmora::simulator
