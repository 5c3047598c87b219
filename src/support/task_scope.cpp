// SPDX-License-Identifier: MIT
#include "support/task_scope.h"

#include "support/error.h"

#include <QLoggingCategory>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(supportLog, "velmora.support", QtWarningMsg)

QCoro::Task<> runLogged(QCoro::Task<> task, const char *what)
{
    try {
        co_await task;
    } catch (...) {
        const auto failure = std::current_exception();
        if (!isCancellation(failure))
            qCWarning(supportLog).noquote() << what << "failed:" << describe(failure);
    }
}

} // namespace

void launch(QCoro::Task<> task, const char *what)
{
    // The outer task may be dropped: it never throws, and it runs to its end by itself.
    [[maybe_unused]] const auto detached = runLogged(std::move(task), what);
}

void throwIfStopped(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw CancellationError();
}

} // namespace velmora
