// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_line.h"
#include "cli/terminal.h"
#include "support/clock.h"

#include <QCoroTask>

#include <stop_token>

namespace velmora
{

/// Prints what a bug report needs: what runs here and on what, what answers and what does not. Secrets, logins, names
/// of hosts, organisations and repositories, and the person's home are left out. Ends within five seconds, whoever does
/// not answer, and changes nothing. `out` and `clock` outlive the task.
[[nodiscard]] QCoro::Task<ExitCode> runDiagnosis(Terminal *out, Clock *clock, std::stop_token stop);

} // namespace velmora
