// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"

#include <QSocketNotifier>

#include <array>
#include <memory>
#include <set>

namespace velmora
{

/// The Unix signals that the program handles, brought into the event loop. One object at a time.
///
/// SIGINT, SIGTERM and SIGHUP ask for the end; a second one of the same kind demands it, and a third ends the
/// process at once. A signal that was ignored when the program started, as under nohup, stays ignored. SIGPIPE
/// and SIGXFSZ are ignored, so that a closed pipe, or a file over the size limit, shows as a failed write.
class ProcessSignals final : public TerminalEvents
{
    Q_OBJECT

public:
    explicit ProcessSignals(QObject *parent = nullptr);
    ~ProcessSignals() override;

    /// Whether the end was asked for. Set by the signal handler itself, so it is true before endRequested() is emitted.
    [[nodiscard]] static bool isEndRequested();

Q_SIGNALS:
    /// The first signal of a kind asks for the end.
    void endRequested();
    /// A second signal of a kind asks for the end: wait only for what would be lost.
    void endDemanded();

private:
    void readSignals();

    std::array<int, 2> m_pipe{-1, -1};
    std::set<int> m_read; ///< the signals for the end that were received
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmora
