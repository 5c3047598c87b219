// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <functional>
#include <memory>
#include <stop_token>
#include <utility>

namespace velmora
{

/// Work that many callers may ask for at once, and that is done once for all of them: whoever comes while a run is open
/// joins it, and whoever comes later waits, together with all others who do, for the one run that follows.
///
/// One thread. Copies share the runs. What is under way outlives the object.
class SharedRuns
{
public:
    /// Does the work. The stop is requested when nobody waits for the run any more; the work may still go on for as
    /// long as it needs, and another run waits for its end. `close` is called, if at all, where the work begins to
    /// collect what a later caller may want anew: until then a run is open.
    using Work = std::function<QCoro::Task<>(std::stop_token stop, std::function<void()> close)>;

    explicit SharedRuns(Work work);

    /// Returns at the end of a run, or throws what it threw. A stop ends the waiting with a CancellationError.
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
