// SPDX-License-Identifier: MIT
#pragma once

#include "support/one_shot.h"

#include <QCoroTask>

#include <deque>
#include <memory>
#include <optional>
#include <stop_token>

namespace velmora
{

/// Lets one coroutine at a time through. The others wait in the order in which they came. For one thread only. Copies
/// share one mutex, and a Lock keeps it alive.
class AsyncMutex
{
    struct State {
        bool isLocked = false;
        std::deque<OneShot<>> waiters;
    };

public:
    /// Holds the mutex until it is destroyed or release() is called.
    class Lock
    {
    public:
        Lock() = default;
        explicit Lock(std::shared_ptr<State> state)
            : m_state(std::move(state))
        {
        }
        Lock(Lock &&other) noexcept = default;
        Lock &operator=(Lock &&other) noexcept
        {
            release();
            m_state = std::move(other.m_state);
            return *this;
        }
        ~Lock() { release(); }

        void release();

    private:
        std::shared_ptr<State> m_state;
    };

    /// Waits for the mutex, without a limit. A stop ends the wait with a CancellationError.
    [[nodiscard]] QCoro::Task<Lock> lock(std::stop_token stop = {}) const { return acquire(m_state, std::move(stop)); }

    /// The lock if the mutex is free, else nullopt.
    [[nodiscard]] std::optional<Lock> tryLock() const;

private:
    static QCoro::Task<Lock> acquire(std::shared_ptr<State> state, std::stop_token stop);

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace velmora
