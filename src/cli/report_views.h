// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"
#include "cli/status_line.h"

namespace velmora
{

// Views that print. Copies of one view share what was printed last.

/// A line of JSON for each report that differs from the last one, and for each announced result.
[[nodiscard]] ReportView jsonView(const CommandContext &context);

/// A line for each report that differs from the last one: of the format, or of JSON without one. Nothing for
/// announcements.
[[nodiscard]] ReportView statusView(const CommandContext &context, const std::optional<StatusLine> &format);

/// A line for each change of the reports, and for each announced result.
[[nodiscard]] ReportView changesView(Terminal *out);

/// The whole table for each report, and a line for each announced result.
[[nodiscard]] ReportView tableView(const CommandContext &context);

/// Prints at most `height` lines of the table; all for 0.
void printTable(const CommandContext &context, const MonitorReport &report, int height = 0);

/// Shows the reports of the context until its stop, or until the reader of the output has gone.
[[nodiscard]] QCoro::Task<ExitCode> followUntilEnd(CommandContext context, ReportView view);

} // namespace velmora
