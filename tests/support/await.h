// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>

namespace velmora::testing
{

/// The outcome of a task: a value, or a failure.
template <typename T>
struct Outcome {
    bool isDone = false;
    std::conditional_t<std::is_void_v<T>, std::monostate, std::optional<T>> value;
    std::exception_ptr failure;

    /// The description of the failure; empty for none.
    [[nodiscard]] QString description() const { return failure ? describe(failure) : QString(); }

    /// Whether the task failed with exactly this error.
    template <typename E>
    [[nodiscard]] bool failedWith(const E &expected) const
    {
        if (!failure)
            return false;
        try {
            std::rethrow_exception(failure);
        } catch (const E &error) {
            return error == expected;
        } catch (...) {
            return false;
        }
    }

    template <typename E>
    [[nodiscard]] bool failedWithType() const
    {
        if (!failure)
            return false;
        try {
            std::rethrow_exception(failure);
        } catch (const E &) {
            return true;
        } catch (...) {
            return false;
        }
    }
};

namespace detail
{

template <typename T>
QCoro::Task<> observe(QCoro::Task<T> task, std::shared_ptr<Outcome<T>> outcome)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
        } else {
            auto result = co_await task;
            outcome->value.emplace(std::move(result));
        }
    } catch (...) {
        outcome->failure = std::current_exception();
    }
    outcome->isDone = true;
}

} // namespace detail

/// Starts the task. The outcome is updated while the task runs.
template <typename T>
[[nodiscard]] std::shared_ptr<Outcome<T>> start(QCoro::Task<T> task)
{
    auto outcome = std::make_shared<Outcome<T>>();
    [[maybe_unused]] const auto detached = detail::observe(std::move(task), outcome);
    return outcome;
}

/// How long tests wait for another process, in milliseconds. Long enough for a machine whose processors and disk are
/// busy with something else: only a test that fails waits that long.
inline constexpr int kPatience = 60'000;

/// Runs the event loop until the condition holds; false after `milliseconds`.
template <typename Condition>
[[nodiscard]] bool waitUntil(Condition condition, int milliseconds = kPatience)
{
    QElapsedTimer watchdog;
    watchdog.start();
    // Some conditions change without an event, such as the end of another process: check them every 5 ms, and sleep in
    // between to leave the processors to that process.
    QTimer look;
    look.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (watchdog.hasExpired(milliseconds))
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    }
    return true;
}

/// Runs the event loop until the task has ended; returns its outcome. Throws after kPatience.
template <typename T>
[[nodiscard]] Outcome<T> await(QCoro::Task<T> task)
{
    const auto outcome = start(std::move(task));
    if (!waitUntil([&] { return outcome->isDone; }))
        throw std::runtime_error("the task did not end in time");
    return std::move(*outcome);
}

/// Awaits a task that must succeed, and returns its value; throws what the task threw.
template <typename T>
T awaitValue(QCoro::Task<T> task)
{
    auto outcome = await(std::move(task));
    if (outcome.failure)
        std::rethrow_exception(outcome.failure);
    if constexpr (!std::is_void_v<T>)
        return std::move(*outcome.value);
}

/// Processes everything that is queued in the event loop, including deferred deletions.
inline void drainEvents()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace velmora::testing
