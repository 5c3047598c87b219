// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <stop_token>
#include <utility>

namespace velmora
{

/// Runs a task that nobody awaits. What escapes from it is logged under `what`; a cancellation is not.
/// This is the one way to start work without awaiting it: a task that is merely dropped runs on as well,
/// but swallows its failure.
void launch(QCoro::Task<> task, const char *what);

/// Owns work that nobody awaits: a member of the object for which the work is done.
///
/// The work takes stopToken() along; the end of the scope requests the stop, so that what the work
/// waits for ends with a CancellationError. That happens after the owner is gone, so a member
/// coroutine guards itself with a QPointer or touches no member after an await.
class TaskScope
{
public:
    TaskScope() = default;
    TaskScope(const TaskScope &) = delete;
    TaskScope &operator=(const TaskScope &) = delete;
    ~TaskScope() { m_stop.request_stop(); }

    [[nodiscard]] std::stop_token stopToken() const { return m_stop.get_token(); }
    void launch(QCoro::Task<> task, const char *what) const { velmora::launch(std::move(task), what); }
    /// Ends the work that was started so far; the scope can be used again at once.
    void cancelAll()
    {
        // What is started in answer to the stop belongs to the time after it.
        auto ended = std::exchange(m_stop, std::stop_source());
        ended.request_stop();
    }

private:
    std::stop_source m_stop;
};

/// Throws CancellationError when the stop has been requested.
void throwIfStopped(const std::stop_token &stop);

} // namespace velmora
