// SPDX-License-Identifier: MIT
#include "platform/wake_watch.h"

#include <QPointer>

namespace velmora
{

using namespace std::chrono_literals;

WakeWatch::WakeWatch(Clock *clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
}

void WakeWatch::prepareForSleep(bool isAboutToSleep)
{
    if (!isAboutToSleep) {
        if (m_state == State::Asleep)
            beginGrace();
        else
            onSign();
        return;
    }
    if (m_state == State::Asleep)
        return;
    const bool wasPaused = isPaused();
    m_state = State::Asleep;
    m_scope.cancelAll();
    m_scope.launch(waitOutAnnouncement(m_scope.stopToken()), "Waiting for the sleep that was announced");
    if (!wasPaused)
        Q_EMIT paused();
}

void WakeWatch::networkChanged(bool isAvailable)
{
    m_isNetworkAvailable = isAvailable;
    // The loss of a network is no reason to retry.
    if (isAvailable || m_state == State::Grace)
        onSign();
}

void WakeWatch::clockJumped()
{
    onSign();
}

void WakeWatch::onSign()
{
    // Ignore signs on the way to sleep: the end of the sleep will be announced.
    if (m_state == State::Asleep)
        return;
    if (m_state == State::Grace) {
        m_hasNewSign = true;
        return;
    }
    m_state = State::Grace;
    const QPointer<WakeWatch> self(this);
    Q_EMIT paused();
    if (self)
        beginGrace();
}

void WakeWatch::beginGrace()
{
    m_state = State::Grace;
    m_hasNewSign = false;
    m_scope.cancelAll();
    m_scope.launch(waitOutGrace(m_scope.stopToken()), "Waiting for the network after waking");
    Q_EMIT connectionsStale();
}

QCoro::Task<> WakeWatch::waitOutGrace(std::stop_token stop)
{
    const QPointer<WakeWatch> self(this);
    Clock *const clock = m_clock;
    for (auto elapsed = 1s;; elapsed += 1s) {
        co_await clock->sleep(1s, stop);
        if (!self)
            co_return;
        const bool isQuiet = !std::exchange(m_hasNewSign, false) && m_isNetworkAvailable;
        if ((elapsed >= kGrace && isQuiet) || elapsed >= kLongestGrace)
            break;
    }
    m_state = State::Awake;
    Q_EMIT shouldRetry();
}

QCoro::Task<> WakeWatch::waitOutAnnouncement(std::stop_token stop)
{
    const QPointer<WakeWatch> self(this);
    Clock *const clock = m_clock;
    co_await clock->sleep(kLongestAnnouncement, stop);
    if (self)
        beginGrace();
}

} // namespace velmora
