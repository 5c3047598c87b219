// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"
#include "support/task_scope.h"

#include <QObject>

#include <functional>

namespace velmora
{

/// Runs a tick every 5 seconds, until it is destroyed. What a tick does is the caller's.
class PollingLoop final : public QObject
{
    Q_OBJECT

public:
    /// Work of the caller that throws nothing.
    using Work = std::function<QCoro::Task<>()>;

    /// When the first tick comes.
    enum class FirstTick {
        AfterTheInterval, ///< as at login, when the network takes a moment
        AtOnce, ///< as soon as the preparation has ended: the user waits for it
    };

    /// The clock is not owned and outlives the loop.
    explicit PollingLoop(Clock *clock, QObject *parent = nullptr);

    /// Awaits `prepare`, then `tick` again and again; the pause between two ticks begins at the end of the first one.
    /// Call it once.
    void start(FirstTick firstTick, Work prepare, Work tick);

    /// Until release(), the machine is about to sleep or has just woken: no tick is due, and a request that breaks off
    /// is no failure. The caller asks isHeld(); the loop goes on.
    void hold() { m_isHeld = true; }
    void release() { m_isHeld = false; }
    [[nodiscard]] bool isHeld() const { return m_isHeld; }

private:
    QCoro::Task<> run(FirstTick firstTick, Work prepare, Work tick);

    Clock *m_clock;
    bool m_isHeld = false;
    TaskScope m_scope;
};

} // namespace velmora
