// SPDX-License-Identifier: MIT
#pragma once

#include "support/cancel_on_stop.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QTimer>

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace velmora
{

namespace detail
{

/// What a OneShot fails with when its deadline passes.
class DeadlinePassed final : public std::exception
{
};

template <typename T>
QCoro::Task<> settle(QCoro::Task<T> work, OneShot<T> outcome)
{
    std::exception_ptr failure;
    std::optional<T> value;
    try {
        auto result = co_await work;
        value.emplace(std::move(result));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure)
        outcome.fail(failure);
    else
        outcome.resolve(std::move(*value));
}

} // namespace detail

/// The value of the OneShot, or nullopt if it does not arrive before the deadline. A OneShot without a value gives
/// whether it was resolved. Throws its failure, or a CancellationError on a stop. Needs an event loop.
///
/// The OneShot is settled afterwards in any case, so that its owner can forget it.
template <typename T>
[[nodiscard]] auto withDeadline(OneShot<T> pending, QDeadlineTimer deadline, std::stop_token stop = {})
    -> QCoro::Task<std::conditional_t<std::is_void_v<T>, bool, std::optional<T>>>
{
    const CancelOnStop<T> onStop(pending, stop);
    QTimer timer;
    timer.setSingleShot(true);
    // The other timer types may fire 5 % too early.
    timer.setTimerType(Qt::PreciseTimer);
    const auto giveUp = [pending] {
        pending.fail(std::make_exception_ptr(detail::DeadlinePassed()));
    };
    QObject::connect(&timer, &QTimer::timeout, &timer, giveUp);
    constexpr qint64 kLongest = std::numeric_limits<int>::max(); // of a QTimer, about 24 days
    if (!deadline.isForever())
        timer.start(static_cast<int>(std::min(deadline.remainingTime(), kLongest)));
    try {
        if constexpr (std::is_void_v<T>) {
            co_await pending;
            co_return true;
        } else {
            std::optional<T> value(std::in_place, co_await pending);
            co_return value;
        }
    } catch (const detail::DeadlinePassed &) {
        co_return {};
    }
}

/// The same for the outcome of work. After the deadline or a stop the work goes on, and its result is dropped.
template <typename T>
[[nodiscard]] QCoro::Task<std::optional<T>> withDeadline(
    QCoro::Task<T> work, QDeadlineTimer deadline, std::stop_token stop = {})
{
    const OneShot<T> outcome;
    launch(detail::settle(std::move(work), outcome), "Work that heeds no stop");
    auto value = co_await withDeadline(outcome, deadline, stop);
    co_return value;
}

/// The outcome of work that cannot be stopped. A stop ends the wait with a CancellationError; the work goes on, and its
/// result is dropped.
template <typename T>
[[nodiscard]] QCoro::Task<T> unlessStopped(QCoro::Task<T> work, std::stop_token stop)
{
    const QDeadlineTimer never(QDeadlineTimer::Forever);
    auto value = co_await withDeadline(std::move(work), never, stop);
    co_return std::move(*value);
}

} // namespace velmora
