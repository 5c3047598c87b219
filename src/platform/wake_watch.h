// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"
#include "support/task_scope.h"

#include <QObject>

#include <chrono>

namespace velmora
{

/// Makes one awakening out of what several watchers report.
///
/// A machine that wakes tells so up to three ways, its network comes back piecemeal a little later, and
/// connections from before are dead without knowing it. So from the first sign on nothing is to be started; then, after
/// a few seconds of grace, there is one shouldRetry(). The person who opens the lid sees no failure that is none.
///
/// Lives on the main thread. Counts in steps of the monotonic clock: the wall clock is not to be trusted just then.
class WakeWatch final : public QObject
{
    Q_OBJECT

public:
    /// The grace after waking, when all is well.
    static constexpr std::chrono::seconds kGrace{3};
    /// The grace while signs go on coming or the network is still away: then nothing is gained by waiting on.
    static constexpr std::chrono::seconds kLongestGrace{15};
    /// How long somebody may be awake after the announcement of sleep before the end of that sleep, which nobody
    /// announced, is taken for granted.
    static constexpr std::chrono::seconds kLongestAnnouncement{30};

    /// The clock is not owned and outlives the watch.
    explicit WakeWatch(Clock *clock, QObject *parent = nullptr);

    /// Whether nothing is to be started: the machine is about to sleep, or has just woken.
    [[nodiscard]] bool isPaused() const { return m_state != State::Awake; }

    /// The machine is about to sleep (true), or has woken (false).
    void prepareForSleep(bool isAboutToSleep);
    /// The network is another one than before; whether there is any.
    void networkChanged(bool isAvailable);
    /// The wall clock has left the monotonic clock behind: the machine slept, unannounced.
    void clockJumped();

Q_SIGNALS:
    /// Nothing is to be started from now until shouldRetry().
    void paused();
    /// Connections may be dead; once for each awakening, right after paused() or the sleep.
    void connectionsStale();
    /// Time to ask anew.
    void shouldRetry();

private:
    enum class State {
        Awake,
        Asleep, ///< or about to be
        Grace,
    };

    void noteSign();
    void beginGrace();
    QCoro::Task<> waitOutGrace(std::stop_token stop);
    QCoro::Task<> waitOutAnnouncement(std::stop_token stop);

    Clock *m_clock;
    State m_state = State::Awake;
    bool m_isNetworkAvailable = true;
    bool m_hasNewSign = false; ///< in the running step of the grace
    TaskScope m_scope;
};

} // namespace velmora
