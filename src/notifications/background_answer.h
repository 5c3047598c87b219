// SPDX-License-Identifier: MIT
#pragma once

#include "support/background.h"
#include "support/task_scope.h"

#include <QDeadlineTimer>
#include <QTimer>

namespace velmora
{

namespace detail
{

template <typename Work>
QCoro::Task<> settleInBackground(Work work, OneShot<bool> answer)
{
    const bool result = co_await runInBackground(QThreadPool::globalInstance(), std::move(work));
    answer.resolve(result);
}

} // namespace detail

/// The result of `work`, which runs on another thread, or `otherwise` if it takes longer than the deadline. `work` must
/// not throw, must own what it uses, and always runs to its end. Pass a named function object, moved in.
template <typename Work>
[[nodiscard]] QCoro::Task<bool> answerInBackground(Work work, bool otherwise, QDeadlineTimer deadline)
{
    const OneShot<bool> answer;
    const auto giveUp = [answer, otherwise] {
        answer.resolve(otherwise);
    };
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &timer, giveUp);
    timer.start(static_cast<int>(deadline.remainingTime()));
    launch(detail::settleInBackground(std::move(work), answer), "reading a setting of the desktop");
    const bool result = co_await answer;
    co_return result;
}

} // namespace velmora
