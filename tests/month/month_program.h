// SPDX-License-Identifier: MIT
#pragma once

#include "month_world.h"

#include "app/velmora_app.h"

#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace velmora::testing
{

/// The program over a month, put together as it does it itself. It ends at times, and starts again with what it left.
class MonthProgram
{
public:
    /// The world is not owned and outlives the program. The program's own chances come from the seed.
    MonthProgram(MonthWorld *world, quint64 seed);
    ~MonthProgram();

    /// The running program; null if none runs.
    [[nodiscard]] VelmoraApp *app() const { return m_app.get(); }
    void start();
    /// A program that is killed leaves the files that it had at this moment, and nothing else of what it does at its
    /// end has an effect.
    void end(MonthOracle::End end);
    /// Runs the event loop until the program waits for time to pass, or for answers that are on their way. Throws a
    /// Violation if that never happens, or a rule was broken meanwhile.
    void settle();

    std::function<void(const QString &key)> beforeAnnouncement; ///< is called with each result to be announced
    std::function<void()> accountsChanged; ///< is called when the accounts of the program are others

private:
    [[nodiscard]] AppEnvironment environment();
    [[nodiscard]] bool isBusy() const;
    [[nodiscard]] QString restlessness() const;

    MonthWorld *m_world;
    simulator::Random m_chance;
    std::unique_ptr<QTemporaryDir> m_home = std::make_unique<QTemporaryDir>();
    std::unique_ptr<MonthNotifier> m_notifier;
    std::unique_ptr<VelmoraApp> m_app;
};

} // namespace velmora::testing
