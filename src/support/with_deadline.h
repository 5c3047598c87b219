// SPDX-License-Identifier: MIT
#pragma once

#include "support/cancel_on_stop.h"
#include "support/one_shot.h"

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

} // namespace velmora
