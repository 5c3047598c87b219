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
class DeploymentCaching;
class DeploymentMonitor;
class FilePreferences;
class GeneralSettingsStore;
class InstallationStore;
class Preferences;
class TerminalNotifier;

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
    QString applicationName; ///< as the application names itself
    Terminal *out = nullptr;
    Terminal *err = nullptr;
    TerminalEvents *terminalEvents = nullptr;
    Clock *clock = nullptr;
    Preferences *preferences = nullptr;
    DeploymentCaching *cache = nullptr;
    AuthenticationStore *authentication = nullptr;
    InstallationStore *installations = nullptr;
    DeploymentMonitor *monitor = nullptr;
    GeneralSettingsStore *settings = nullptr;
    TerminalNotifier *notifier = nullptr;
    WebAddress installationURL;
    QString missingConfiguration; ///< what to do about a missing client id; empty when there is one
    std::stop_token stop; ///< requested when the person ends the program
};

} // namespace velmora
