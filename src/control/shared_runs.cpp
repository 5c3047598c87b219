// SPDX-License-Identifier: MIT
#include "control/shared_runs.h"

#include "support/cancel_on_stop.h"
#include "support/task_scope.h"

#include <QList>

namespace velmora
{

/// One run of the work.
struct SharedRuns::Run {
    QList<OneShot<>> callers; ///< including callers that have left
    int waiting = 0; ///< the number of callers that have not left
    bool isOpen = true;
    std::stop_source stop;
};

struct SharedRuns::State {
    Work work;
    std::shared_ptr<Run> running; ///< null while no work is done
    std::shared_ptr<Run> next; ///< null while no caller waits for it
};

SharedRuns::SharedRuns(Work work)
    : m_state(std::make_shared<State>())
{
    m_state->work = std::move(work);
}

std::shared_ptr<SharedRuns::Run> SharedRuns::runToJoin(const std::shared_ptr<State> &state)
{
    if (state->running && state->running->isOpen && !state->running->stop.stop_requested())
        return state->running;
    if (!state->next)
        state->next = std::make_shared<Run>();
    return state->next;
}

QCoro::Task<> SharedRuns::wait(std::shared_ptr<State> state, std::stop_token stop)
{
    throwIfStopped(stop);
    const std::shared_ptr<Run> run = runToJoin(state);
    const OneShot<> done;
    run->callers.append(done);
    ++run->waiting;
    if (!state->running)
        startNext(state);
    const CancelOnStop cancel(done, stop);
    std::exception_ptr failure;
    try {
        co_await done;
    } catch (...) {
        failure = std::current_exception();
    }
    if (--run->waiting == 0)
        run->stop.request_stop();
    if (failure)
        std::rethrow_exception(failure);
}

/// Starts the next run, unless all its callers have left.
void SharedRuns::startNext(const std::shared_ptr<State> &state)
{
    state->running = std::exchange(state->next, nullptr);
    if (state->running && state->running->waiting == 0)
        state->running = nullptr;
    if (state->running)
        launch(perform(state, state->running), "what several callers have asked for");
}

QCoro::Task<> SharedRuns::perform(std::shared_ptr<State> state, std::shared_ptr<Run> run)
{
    const std::function<void()> close = [run] {
        run->isOpen = false;
    };
    std::exception_ptr failure;
    try {
        co_await state->work(run->stop.get_token(), close);
    } catch (...) {
        failure = std::current_exception();
    }
    // Started before the callers resume, so that one that asks again joins this run.
    startNext(state);
    const QList<OneShot<>> callers = std::exchange(run->callers, {});
    for (const OneShot<> &caller : callers) {
        if (failure)
            caller.fail(failure);
        else
            caller.resolve();
    }
}

} // namespace velmora
