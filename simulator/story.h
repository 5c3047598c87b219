// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/random.h"
#include "simulator/script.h"
#include "simulator/world.h"

#include <QUrl>

#include <map>
#include <memory>
#include <utility>

namespace velmora::simulator
{

/// Makes deployments begin, progress and end, without end; in an outage now and then several fail together. Moves only
/// in advance(). The same seed gives the same story, no matter how its time is divided into steps.
class Story
{
public:
    /// The deployments that an outage makes fail.
    static constexpr int kOutage = 5;
    static constexpr int kMostUnderWay = 6 + kOutage;
    /// When the first outage is over.
    static constexpr Milliseconds kFirstOutage = 90'000;

    /// The pointers are not owned and outlive the story.
    Story(World *world, Random *random, QUrl web);

    /// Advances the story by `elapsed` of its own time, which ends at `now` and runs `speed` times as fast.
    void advance(Milliseconds elapsed, Milliseconds now, double speed = 1);
    /// The number of deployments under way.
    [[nodiscard]] int underWay() const { return m_underWay; }
    /// The story's own time since its beginning.
    [[nodiscard]] Milliseconds time() const { return m_time; }

private:
    struct Event {
        std::shared_ptr<Script> script; ///< null to begin what is new
        QString deployment;
        int step = 0;
        bool isOutage = false;
    };
    void happen(const Event &event, Milliseconds at, Milliseconds now);
    void beginOne(Milliseconds at, Milliseconds now);
    void beginOutage(Milliseconds at, Milliseconds now);
    void begin(Script script, Milliseconds at, Milliseconds now);
    void schedule(Milliseconds at, Event event) { m_events.emplace(at, std::move(event)); }

    World *m_world;
    Random *m_random;
    QUrl m_web;
    Milliseconds m_time = 0;
    int m_underWay = 0;
    std::multimap<Milliseconds, Event> m_events;
};

} // namespace velmora::simulator
