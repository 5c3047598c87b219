// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_line.h"
#include "cli/terminal.h"
#include "support/web_address.h"

#include <QObject>

#include <stop_token>

namespace velmora
{

class AuthenticationStore;
class Clock;
class Control;
class Preferences;
class ReportSource;

/// What happens to the terminal behind the program's back.
class TerminalEvents : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    /// The window has another size.
    void resized();
    /// The program was stopped by the shell and goes on.
    void continued();
};

/// What the commands work with. Nothing is owned; everything outlives the command.
struct CommandContext {
    Terminal *out = nullptr;
    Terminal *err = nullptr;
    TerminalEvents *terminalEvents = nullptr;
    Clock *clock = nullptr;
    Control *control = nullptr; ///< for what asks or changes something once
    ReportSource *reports = nullptr; ///< for `status`, and for a `watch` that goes on
    AuthenticationStore *authentication = nullptr; ///< of `connect`
    Preferences *preferences = nullptr; ///< of `connect`: where accounts are remembered
    WebAddress installationURL;
    QString missingConfiguration; ///< what to do about a missing client id; empty when there is one
    std::stop_token stop; ///< requested when the person ends the program
};

} // namespace velmora
