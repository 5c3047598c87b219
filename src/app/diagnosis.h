// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_line.h"
#include "cli/terminal.h"
#include "support/clock.h"

#include <QCoroTask>

#include <stop_token>

namespace velmora
{

/// Prints what a bug report needs: versions, the desktop, what answers and what does not. Secrets, logins, names of
/// hosts, organisations and repositories, and the user's home are left out. Ends within five seconds even if nothing
/// answers, and changes nothing. Throws a CancellationError on a stop. `out` and `clock` outlive the task.
[[nodiscard]] QCoro::Task<ExitCode> runDiagnosis(Terminal *out, Clock *clock, std::stop_token stop);

} // namespace velmora
