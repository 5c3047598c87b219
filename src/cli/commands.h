// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"

#include <QCoroTask>

namespace velmora
{

// Each command prints its results and returns the exit code. A requested stop ends it soon.

/// Connects an identity through the device flow.
[[nodiscard]] QCoro::Task<ExitCode> runConnect(CommandContext context);

[[nodiscard]] QCoro::Task<ExitCode> runAccounts(CommandContext context, CommandLine line);

/// Forgets the identity with the login and its token.
[[nodiscard]] QCoro::Task<ExitCode> runRemoveAccount(CommandContext context, CommandLine line);

/// Loads the installations from GitHub, switches the named ones, and lists them.
[[nodiscard]] QCoro::Task<ExitCode> runInstallations(CommandContext context, CommandLine line);

/// Loads the repositories from GitHub, includes and excludes the named ones, and lists them.
[[nodiscard]] QCoro::Task<ExitCode> runRepositories(CommandContext context, CommandLine line);

/// Mutes or unmutes the repository, and says so.
[[nodiscard]] QCoro::Task<ExitCode> runMute(CommandContext context, CommandLine line);

/// Pauses or resumes the notifications, and says so.
[[nodiscard]] QCoro::Task<ExitCode> runPause(CommandContext context, CommandLine line);

/// Switches the named kinds of notifications, and lists all.
[[nodiscard]] QCoro::Task<ExitCode> runNotifications(CommandContext context, CommandLine line);

/// Lists the failures on show, after choosing which of them count.
[[nodiscard]] QCoro::Task<ExitCode> runFailures(CommandContext context, CommandLine line);

/// Lists the environments of the last 30 days, after choosing about them.
[[nodiscard]] QCoro::Task<ExitCode> runEnvironments(CommandContext context, CommandLine line);

/// Shows the reports: once after a refresh, or until the stop.
[[nodiscard]] QCoro::Task<ExitCode> runWatch(CommandContext context, CommandLine line);

/// Waits until the awaited deployment has ended, and prints it. Asks the control whether the repository is watched, and
/// follows the reports.
[[nodiscard]] QCoro::Task<ExitCode> runWait(CommandContext context, CommandLine line);

/// Shows the state of the deployments, once or with every change. Uses only the reports of the context, not the
/// control.
[[nodiscard]] QCoro::Task<ExitCode> runStatus(CommandContext context, CommandLine line);

/// Loads everything from GitHub and prints the status in one line.
[[nodiscard]] QCoro::Task<ExitCode> runRefresh(CommandContext context);

} // namespace velmora
