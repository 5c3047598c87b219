// SPDX-License-Identifier: MIT
#pragma once

#include <qcoro/coroutine.h>

#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace velmora
{

/// A value that arrives once, later: the bridge from a callback to a coroutine.
///
/// Copies share one state, so the callback may outlive the coroutine. The first resolve() or fail() resumes the one
/// waiter on the spot; later ones are ignored. For one thread only. The waiter of a OneShot that is never settled waits
/// for ever, so every path of the callback's owner must settle it.
template <typename T = void>
class OneShot
{
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    struct State {
        std::optional<Value> value;
        std::exception_ptr failure;
        std::coroutine_handle<> waiter;

        [[nodiscard]] bool isSettled() const { return value.has_value() || failure != nullptr; }
    };

public:
    class Awaiter
    {
    public:
        explicit Awaiter(std::shared_ptr<State> state)
            : m_state(std::move(state))
        {
        }
        bool await_ready() const { return m_state->isSettled(); }
        void await_suspend(std::coroutine_handle<> waiter) { m_state->waiter = waiter; }
        T await_resume()
        {
            if (m_state->failure)
                std::rethrow_exception(m_state->failure);
            if constexpr (!std::is_void_v<T>)
                return std::move(*m_state->value);
        }

    private:
        std::shared_ptr<State> m_state;
    };

    [[nodiscard]] bool isSettled() const { return m_state->isSettled(); }

    template <typename... Arguments>
    void resolve(Arguments &&...arguments) const
    {
        if (isSettled())
            return;
        m_state->value.emplace(std::forward<Arguments>(arguments)...);
        resumeWaiter();
    }

    void fail(std::exception_ptr failure) const
    {
        if (isSettled())
            return;
        m_state->failure = std::move(failure);
        resumeWaiter();
    }

    /// At most one coroutine may await.
    Awaiter operator co_await() const { return Awaiter(m_state); }

private:
    void resumeWaiter() const
    {
        // The waiter may destroy this OneShot while it runs.
        if (const auto waiter = std::exchange(m_state->waiter, nullptr))
            waiter.resume();
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace velmora
