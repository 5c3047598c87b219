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

/// Lets deployments begin, unfold and end in a world, for ever. It moves only when told to, and for one seed always
/// in the same way, however large the steps are in which it is moved.
class Story
{
public:
    static constexpr int kMostUnderWay = 6;

    /// The world must outlive the story.
    Story(World *world, Random *random, QUrl web);

    /// Moves on by `elapsed` of the story's own time, which ends at `now` and passes `speed` times as fast.
    void advance(Milliseconds elapsed, Milliseconds now, double speed = 1);
    /// How many deployments are on their way.
    [[nodiscard]] int underWay() const { return m_underWay; }
    /// The story's own time since its beginning.
    [[nodiscard]] Milliseconds time() const { return m_time; }

private:
    struct Event {
        std::shared_ptr<Script> script; ///< null: a new deployment begins
        QString deployment;
        int step = 0;
    };
    void happen(const Event &event, Milliseconds at, Milliseconds now);
    void beginOne(Milliseconds at, Milliseconds now);
    void schedule(Milliseconds at, Event event) { m_events.emplace(at, std::move(event)); }

    World *m_world;
    Random *m_random;
    QUrl m_web;
    Milliseconds m_time = 0;
    int m_underWay = 0;
    std::multimap<Milliseconds, Event> m_events;
};

} // namespace velmora::simulator
