// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QTime>

#include <chrono>
#include <optional>

namespace velmora
{

/// The exit codes of every command.
enum class ExitCode : int {
    Done = 0,
    Failed = 1, ///< with a message on standard error
    WrongUsage = 2,
    TimeOver = 3, ///< of `wait`
    Interrupted = 130, ///< of `wait`, whose Failed tells of a deployment
};

/// The deployments for which `wait` waits. Letters may be in any case.
struct AwaitedDeployments {
    QString repository; ///< owner and name
    QString environment; ///< empty for every environment
    QString commit; ///< the beginning of its SHA; empty for every commit
};

/// What the user requested on the command line.
struct CommandLine {
    enum class Command {
        Desktop, ///< the tray item and its windows
        Connect,
        Accounts,
        RemoveAccount,
        Installations,
        Repositories,
        Mute,
        Unmute,
        Pause,
        Resume,
        Notifications,
        Failures,
        Environments,
        Watch,
        Wait,
        Status,
        Refresh,
        Show, ///< the window of the tray item
        Settings, ///< the settings window
        Quit,
        Diagnose,
        IsConfigured, ///< for scripts: whether a client id is configured
        IsDisplayUsable, ///< for the program itself: whether a connection to the display can be opened
    };

    Command command = Command::Desktop;
    bool isDemo = false;
    bool isBackground = false; ///< started at login: no window opens by itself
    bool isVerbose = false;
    bool isJSON = false;
    bool isOnce = false;
    bool isQuiet = false; ///< no desktop notifications
    bool isFollowing = false; ///< continues with a line for every change
    bool isAll = false;
    bool isNone = false;
    std::optional<bool> onlyMine; ///< whose deployments are announced from now on; absent: as before
    QStringList dismiss;
    QStringList restore;
    std::optional<bool> ignoresMended; ///< whether mended failures count no longer; absent: as before
    QStringList notify; ///< environments
    QStringList show; ///< environments
    QStringList hide; ///< environments
    std::optional<bool> onlyProduction; ///< what is not chosen is announced only if it is production; absent: as before
    QString repository; ///< owner and name, of `mute` and `unmute`
    std::optional<std::chrono::seconds> duration; ///< for how long; absent: until it is taken back
    std::optional<QTime> until; ///< of `pause`: until the clocks show this time next; instead of the duration
    QString login;
    QString format; ///< the format of the line for a bar; empty for none
    AwaitedDeployments awaited;
    std::chrono::seconds timeout = std::chrono::minutes(30); ///< for how long `wait` waits
    QStringList enable;
    QStringList disable;
    QStringList include;
    QStringList exclude;

    /// Whether the command is for the tray program. Without one, this process becomes it.
    [[nodiscard]] bool isForDesktop() const
    {
        return command == Command::Desktop || command == Command::Show || command == Command::Settings;
    }
};

/// A command, or the text to print instead of running one.
struct CommandLineResult {
    std::optional<CommandLine> commandLine;
    ExitCode exitCode = ExitCode::Done;
    QString output;
    QString error;
};

/// Parses the arguments after the program's name.
[[nodiscard]] CommandLineResult parseCommandLine(const QStringList &arguments);

} // namespace velmora
