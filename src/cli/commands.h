// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"

#include <QCoroTask>

namespace velmora
{

// Each command prints what it has to say and returns how it ended. A requested stop ends it soon.

/// Connects an identity through the device flow.
[[nodiscard]] QCoro::Task<ExitCode> runConnect(CommandContext context);

/// Lists the connected identities.
[[nodiscard]] QCoro::Task<ExitCode> runAccounts(CommandContext context, CommandLine line);

/// Forgets the identity with the login.
[[nodiscard]] QCoro::Task<ExitCode> runRemoveAccount(CommandContext context, CommandLine line);

/// Loads the installations from GitHub, switches those that are named, and lists them.
[[nodiscard]] QCoro::Task<ExitCode> runInstallations(CommandContext context, CommandLine line);

/// Loads the repositories from GitHub, includes and excludes those that are named, and lists them.
[[nodiscard]] QCoro::Task<ExitCode> runRepositories(CommandContext context, CommandLine line);

/// Shows what is reported, once after a refresh or until the stop.
[[nodiscard]] QCoro::Task<ExitCode> runWatch(CommandContext context, CommandLine line);

/// Shows how the deployments stand, once or with every change. Of the context it needs the reports, not the control.
[[nodiscard]] QCoro::Task<ExitCode> runStatus(CommandContext context, CommandLine line);

/// Loads everything from GitHub and tells how things stand in one line.
[[nodiscard]] QCoro::Task<ExitCode> runRefresh(CommandContext context);

} // namespace velmora
