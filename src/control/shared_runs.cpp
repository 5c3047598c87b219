// SPDX-License-Identifier: MIT
#include "control/shared_runs.h"

#include "support/cancel_on_stop.h"
#include "support/task_scope.h"

#include <QList>

namespace velmora
{

/// One time that the work is done.
struct SharedRuns::Run {
    QList<OneShot<>> callers; ///< those who have left among them
    int waiting = 0; ///< callers that have not left
    bool isOpen = true;
    std::stop_source stop;
};

struct SharedRuns::State {
    Work work;
    std::shared_ptr<Run> running; ///< none while nothing is done
    std::shared_ptr<Run> next; ///< none while nobody waits for it
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

/// A run for which everybody has stopped waiting before it began is none.
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
    // A caller that goes on may ask again, and joins what follows.
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
