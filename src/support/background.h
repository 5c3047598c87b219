// SPDX-License-Identifier: MIT
#pragma once

#include "support/one_shot.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QMetaObject>
#include <QThreadPool>

#include <exception>
#include <type_traits>
#include <utility>

namespace velmora
{

/// Runs `work` on a thread of `pool`. Returns its result, or throws its exception, on the thread that awaits. `work`
/// must own what it uses, since the awaiting coroutine may be destroyed first. Pass a named function object, moved in.
/// The application object must exist.
template <typename Work>
[[nodiscard]] auto runInBackground(QThreadPool *pool, Work work) -> QCoro::Task<std::invoke_result_t<Work>>
{
    using Result = std::invoke_result_t<Work>;
    const OneShot<Result> done;
    auto job = [done, work = std::move(work)]() mutable {
        // Only the main thread touches the state of the OneShot.
        const auto settle = [](auto settlement) {
            QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(settlement), Qt::QueuedConnection);
        };
        try {
            if constexpr (std::is_void_v<Result>) {
                work();
                settle([done] { done.resolve(); });
            } else {
                auto result = std::make_shared<Result>(work());
                settle([done, result] { done.resolve(std::move(*result)); });
            }
        } catch (...) {
            settle([done, failure = std::current_exception()] { done.fail(failure); });
        }
    };
    pool->start(std::move(job));
    if constexpr (std::is_void_v<Result>) {
        co_await done;
    } else {
        auto result = co_await done;
        co_return result;
    }
}

} // namespace velmora
