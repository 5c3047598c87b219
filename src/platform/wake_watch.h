// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"
#include "support/task_scope.h"

#include <QObject>

#include <chrono>

namespace velmora
{

/// Combines the reports of several watchers into one awakening.
///
/// A waking machine is reported in up to three ways, its network comes back gradually, and old connections are dead
/// without notice. Therefore no requests should start from the first sign on. After a few seconds of grace
/// shouldRetry() is emitted once. Thus a user who opens the lid sees no false failure.
///
/// Lives on the main thread. Counts steps of the monotonic clock, since the wall clock is unreliable at that time.
class WakeWatch final : public QObject
{
    Q_OBJECT

public:
    /// The grace after waking in the normal case.
    static constexpr std::chrono::seconds kGrace{3};
    /// The longest grace, while new signs arrive or the network is missing.
    static constexpr std::chrono::seconds kLongestGrace{15};
    /// How long the machine may stay awake after an announced sleep. Then the watch assumes that the sleep has ended
    /// without an announcement.
    static constexpr std::chrono::seconds kLongestAnnouncement{30};

    /// The clock is not owned and outlives the watch.
    explicit WakeWatch(Clock *clock, QObject *parent = nullptr);

    /// Whether no requests should start: the machine is about to sleep, or has just woken.
    [[nodiscard]] bool isPaused() const { return m_state != State::Awake; }

    /// The machine is about to sleep (true) or has woken (false).
    void prepareForSleep(bool isAboutToSleep);
    /// The network has changed. `isAvailable`: whether there is any.
    void networkChanged(bool isAvailable);
    /// The wall clock has run ahead of the monotonic clock: the machine slept without an announcement.
    void clockJumped();

Q_SIGNALS:
    /// No requests should start from now until shouldRetry().
    void paused();
    /// Connections may be dead. Emitted once for each awakening, right after paused() or the sleep.
    void connectionsStale();
    /// Requests may start again.
    void shouldRetry();

private:
    enum class State {
        Awake,
        Asleep, ///< asleep or about to sleep
        Grace,
    };

    void onSign();
    void beginGrace();
    QCoro::Task<> waitOutGrace(std::stop_token stop);
    QCoro::Task<> waitOutAnnouncement(std::stop_token stop);

    Clock *m_clock;
    State m_state = State::Awake;
    bool m_isNetworkAvailable = true;
    bool m_hasNewSign = false; ///< during the running step of the grace
    TaskScope m_scope;
};

} // namespace velmora
