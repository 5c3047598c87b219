// SPDX-License-Identifier: MIT
#pragma once

#include "support/cancel_on_stop.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QCoroTask>

#include <exception>
#include <optional>
#include <stop_token>
#include <utility>

namespace velmora
{

namespace detail
{

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

/// The outcome of work that cannot be stopped. A stop ends the wait with a CancellationError; the work goes on, and its
/// result is dropped.
template <typename T>
[[nodiscard]] QCoro::Task<T> unlessStopped(QCoro::Task<T> work, std::stop_token stop)
{
    const OneShot<T> outcome;
    const CancelOnStop<T> onStop(outcome, stop);
    launch(detail::settle(std::move(work), outcome), "Work that heeds no stop");
    auto value = co_await outcome;
    co_return value;
}

} // namespace velmora
