// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/report_views.h"

namespace velmora
{

namespace
{

ReportView viewFor(const CommandContext &context, const CommandLine &line)
{
    if (!line.format.isEmpty())
        return statusView(context.out, StatusLine::parse(line.format).line);
    return line.isJSON ? statusView(context.out, std::nullopt) : tableView(context);
}

} // namespace

QCoro::Task<ExitCode> runStatus(CommandContext context, CommandLine line)
{
    const ReportView view = viewFor(context, line);
    if (line.isFollowing) {
        const ExitCode code = co_await followUntilEnd(context, view);
        co_return code;
    }
    const MonitorReport report = co_await currentReport(context.reports, context.stop);
    view.show(report);
    co_return ExitCode::Done;
}

} // namespace velmora
