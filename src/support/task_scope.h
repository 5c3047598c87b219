// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <stop_token>
#include <utility>

namespace velmora
{

/// Runs a task that no coroutine awaits. Logs its exception under `what`, except a cancellation. Use this instead of
/// dropping a task, which would lose its exception.
void launch(QCoro::Task<> task, const char *what);

/// Owns tasks that no coroutine awaits. Make it a member of the object for which they work.
///
/// The tasks take stopToken(). The scope's destructor requests the stop, so that their waits end with a
/// CancellationError. They resume after the owner is destroyed, so a member coroutine guards itself with a QPointer or
/// touches no member after an await.
class TaskScope
{
public:
    TaskScope() = default;
    TaskScope(const TaskScope &) = delete;
    TaskScope &operator=(const TaskScope &) = delete;
    ~TaskScope() { m_stop.request_stop(); }

    [[nodiscard]] std::stop_token stopToken() const { return m_stop.get_token(); }
    void launch(QCoro::Task<> task, const char *what) const { velmora::launch(std::move(task), what); }
    /// Stops all tasks started so far. The scope can be used again at once.
    void cancelAll()
    {
        // A task that is started during request_stop() gets the new token.
        auto ended = std::exchange(m_stop, std::stop_source());
        ended.request_stop();
    }

private:
    std::stop_source m_stop;
};

/// Throws CancellationError when the stop has been requested.
void throwIfStopped(const std::stop_token &stop);

} // namespace velmora
