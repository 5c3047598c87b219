// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"

#include <QSocketNotifier>

#include <array>
#include <memory>
#include <set>

namespace velmora
{

/// The signals that the program heeds, brought into the event loop. One object at a time.
///
/// SIGINT, SIGTERM and SIGHUP ask for the end; a second one of the same kind demands it, and a third ends the
/// process on the spot. One that was ignored when the program started, as under nohup, stays ignored. SIGPIPE
/// and SIGXFSZ are ignored, so that a reader that has gone, or a file over the limit, shows as a failed write.
class ProcessSignals final : public TerminalEvents
{
    Q_OBJECT

public:
    explicit ProcessSignals(QObject *parent = nullptr);
    ~ProcessSignals() override;

    /// Whether the end was asked for; true already before endRequested() is emitted.
    [[nodiscard]] static bool isEndRequested();

Q_SIGNALS:
    void endRequested();
    /// The end was asked for again: whatever is not in danger need not be waited for.
    void endDemanded();

private:
    void readSignals();

    std::array<int, 2> m_pipe{-1, -1};
    std::set<int> m_read; ///< the signals for the end that came
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmora
