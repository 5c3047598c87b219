// SPDX-License-Identifier: MIT
#include "support/async_mutex.h"

#include "support/cancel_on_stop.h"
#include "support/task_scope.h"

namespace velmora
{

void AsyncMutex::Lock::release()
{
    const auto state = std::exchange(m_state, nullptr);
    if (!state)
        return;
    // Ownership passes straight to the next waiter, so that no other coroutine can lock in between.
    while (!state->waiters.empty()) {
        const auto next = state->waiters.front();
        state->waiters.pop_front();
        if (next.isSettled())
            continue; // stopped while it waited
        next.resolve();
        return;
    }
    state->isLocked = false;
}

std::optional<AsyncMutex::Lock> AsyncMutex::tryLock() const
{
    if (m_state->isLocked)
        return std::nullopt;
    m_state->isLocked = true;
    return std::optional<Lock>(std::in_place, m_state);
}

QCoro::Task<AsyncMutex::Lock> AsyncMutex::acquire(std::shared_ptr<State> state, std::stop_token stop)
{
    throwIfStopped(stop);
    if (state->isLocked) {
        const OneShot<> turn;
        state->waiters.push_back(turn);
        const CancelOnStop<> onStop(turn, stop);
        co_await turn;
    }
    state->isLocked = true;
    Lock held(state);
    // The turn may come between the stop and its delivery. Throwing destroys `held`, which passes the lock on.
    throwIfStopped(stop);
    co_return held;
}

} // namespace velmora
