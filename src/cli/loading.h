// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"

#include <QCoroTask>

namespace velmora
{

/// Loads installations and repositories from GitHub, with a progress line where standard error is a
/// terminal. What failed is reported there. Failed without an account, for every identity that failed,
/// and when the stop was requested.
[[nodiscard]] QCoro::Task<ExitCode> loadInstallations(CommandContext context);

/// Tells how to connect an account; the end of a command that needs one.
ExitCode reportNoAccount(const CommandContext &context);

} // namespace velmora
