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

/// Runs `work` on a thread of `pool`. The OneShot gets its result, or its exception, on the main thread. `work` always
/// runs to its end, and must own what it uses. The application object must exist.
template <typename Work>
[[nodiscard]] auto startInBackground(QThreadPool *pool, Work work) -> OneShot<std::invoke_result_t<Work>>
{
    using Result = std::invoke_result_t<Work>;
    OneShot<Result> done;
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
    return done;
}

/// Threads for work that may block forever, such as connecting to a bus that does not answer or reading from a dead
/// file system. They must not delay the end of the process: while isPatientWorkOpen(), exit without waiting for
/// threads.
[[nodiscard]] QThreadPool *patientPool();

/// Whether such work is still running.
[[nodiscard]] bool isPatientWorkOpen();

/// The result of startInBackground(). Pass a named function object, moved in.
template <typename Work>
[[nodiscard]] auto runInBackground(QThreadPool *pool, Work work) -> QCoro::Task<std::invoke_result_t<Work>>
{
    const auto done = startInBackground(pool, std::move(work));
    if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
        co_await done;
    } else {
        auto result = co_await done;
        co_return result;
    }
}

} // namespace velmora
