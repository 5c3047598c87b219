// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_line.h"

#include <QDBusConnection>
#include <QString>

#include <stop_token>

namespace velmora
{

class Clock;
class Terminal;
class TerminalEvents;

/// What a run of a command works with. What the pointers name is not owned and outlives the run.
struct RunContext {
    CommandLine line;
    QString startupToken; ///< allows this process to take the focus; empty for none
    QDBusConnection bus{QString()}; ///< the session bus; not connected where none answers
    Terminal *out = nullptr;
    Terminal *err = nullptr;
    TerminalEvents *terminalEvents = nullptr;
    Clock *clock = nullptr;
    std::stop_token stop; ///< requested when the program is to end

    /// The name of the running Velmora on the session bus; the demo has a name of its own.
    [[nodiscard]] QString busName() const
    {
        const QString name = QStringLiteral("com.tarvik.Velmora");
        return line.isDemo ? name + QStringLiteral(".Demo") : name;
    }
};

} // namespace velmora
