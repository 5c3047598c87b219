// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_line.h"
#include "cli/terminal.h"
#include "control/report_following.h"
#include "monitor/stores.h"

#include <QObject>

namespace velmora
{

class Clock;
class Control;

/// Events of the terminal that arrive as signals of the system.
class TerminalEvents : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    /// The window of the terminal was resized.
    void resized();
    /// The shell has resumed the stopped program.
    void continued();
};

/// The services of the commands. Nothing is owned; everything outlives the command.
struct CommandContext {
    Terminal *out = nullptr;
    Terminal *err = nullptr;
    TerminalEvents *terminalEvents = nullptr;
    Clock *clock = nullptr;
    Control *control = nullptr; ///< for single requests
    ReportSides reports; ///< for `status`, `wait`, and a `watch` without --once
    Stores stores; ///< for `connect`; the other commands have a control or reports
    QString missingConfiguration; ///< what to do about a missing client id; empty if there is one
    std::stop_token stop; ///< requested when the user ends the program
};

} // namespace velmora
