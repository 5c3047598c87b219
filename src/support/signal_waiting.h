// SPDX-License-Identifier: MIT
#pragma once

#include "support/with_deadline.h"

#include <QCoroTask>
#include <QObject>

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

namespace velmora
{

/// Waits until the condition holds, and tests it after each `signal` of the sender. Also ends when the stop is
/// requested, the sender is destroyed or `limit` has passed, so the caller must test the condition again.
template <typename Sender, typename Signal>
[[nodiscard]] QCoro::Task<> untilTrue(Sender *sender, Signal signal, std::function<bool()> condition,
    std::stop_token stop, std::optional<std::chrono::milliseconds> limit = std::nullopt)
{
    if (stop.stop_requested() || condition())
        co_return;
    const OneShot<> done;
    const auto settle = [done] {
        done.resolve();
    };
    const auto check = [done, condition] {
        if (!done.isSettled() && condition())
            done.resolve();
    };
    const QObject context;
    // Queued, so that the sender has finished its work before the waiter resumes.
    QObject::connect(sender, signal, &context, check, Qt::QueuedConnection);
    QObject::connect(sender, &QObject::destroyed, &context, settle);
    const std::stop_callback onStop(stop, settle);
    const auto deadline = limit ? QDeadlineTimer(*limit) : QDeadlineTimer(QDeadlineTimer::Forever);
    co_await withDeadline(done, deadline);
}

} // namespace velmora
