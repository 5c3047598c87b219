// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <functional>
#include <memory>
#include <stop_token>
#include <utility>

namespace velmora
{

/// Runs work once for all callers that request it at the same time. A caller joins a run that is open. Later callers
/// wait together for the one run after it.
///
/// For one thread. Copies share the runs. A run under way outlives the object.
class SharedRuns
{
public:
    /// The work. The stop is requested when the last caller of the run has left; the work may take its time to end, and
    /// the next run waits for it. A run is open until the work calls `close`, if it does: call it before collecting
    /// data that a later caller would want fresh.
    using Work = std::function<QCoro::Task<>(std::stop_token stop, std::function<void()> close)>;

    explicit SharedRuns(Work work);

    /// Returns at the end of the run, or throws what the work threw. A stop ends the waiting with a CancellationError.
    [[nodiscard]] QCoro::Task<> join(std::stop_token stop) const { return wait(m_state, std::move(stop)); }

private:
    struct Run;
    struct State;

    static QCoro::Task<> wait(std::shared_ptr<State> state, std::stop_token stop);
    static QCoro::Task<> perform(std::shared_ptr<State> state, std::shared_ptr<Run> run);
    [[nodiscard]] static std::shared_ptr<Run> runToJoin(const std::shared_ptr<State> &state);
    static void startNext(const std::shared_ptr<State> &state);

    std::shared_ptr<State> m_state;
};

} // namespace velmora
