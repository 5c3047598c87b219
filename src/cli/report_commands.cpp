// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/live_display.h"
#include "cli/loading.h"
#include "cli/report_views.h"
#include "control/control.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// Prints what is announced during the refresh, and then the table; or JSON for every change.
QCoro::Task<ExitCode> watchOnce(CommandContext context, bool isJSON)
{
    Control *const control = context.control;
    const ReportView view = isJSON ? jsonView(context) : tableView(context);
    const TaskScope scope;
    const QObject connections;
    if (isJSON)
        scope.launch(showChanges(control, view, scope.stopToken()), "printing reports");
    else
        QObject::connect(control, &Control::announced, &connections, view.announce);
    const LoadingAnswer answer = co_await control->refresh(context.stop);
    if (answer.hasAccounts) {
        const MonitorReport report = co_await control->report(context.stop);
        view.show(report);
    }
    co_return reportLoading(context, answer);
}

QCoro::Task<ExitCode> watchLive(CommandContext context)
{
    std::stop_source quit;
    const auto end = [quit] {
        quit.request_stop();
    };
    const std::stop_callback onStop(context.stop, end);
    context.stop = quit.get_token();
    LiveDisplay display(context.out, context.err, context.terminalEvents, context.clock);
    QObject::connect(&display, &LiveDisplay::quitRequested, &display, end);
    ReportView view;
    view.show = [&display](const MonitorReport &report) {
        display.show(report);
    };
    view.announce = [&display](const DeploymentNotification &notification) {
        display.announce(notification);
    };
    const ExitCode code = co_await followUntilEnd(context, view);
    co_return code;
}

ReportView viewFor(const CommandContext &context, const CommandLine &line)
{
    if (!line.format.isEmpty())
        return statusView(context, StatusLine::parse(line.format).line);
    return line.isJSON ? statusView(context, std::nullopt) : tableView(context);
}

} // namespace

QCoro::Task<ExitCode> runWatch(CommandContext context, CommandLine line)
{
    if (line.isOnce)
        return watchOnce(std::move(context), line.isJSON);
    if (!line.isJSON && context.out->isLive())
        return watchLive(std::move(context));
    const ReportView view = line.isJSON ? jsonView(context) : changesView(context.out);
    return followUntilEnd(std::move(context), view);
}

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

QCoro::Task<ExitCode> runRefresh(CommandContext context)
{
    Control *const control = context.control;
    const QString text = QStringLiteral("Loading deployments from GitHub…");
    auto work = control->refresh(context.stop);
    const LoadingAnswer answer = co_await withProgress(context, text, std::move(work));
    if (answer.hasAccounts) {
        const MonitorReport report = co_await control->report(context.stop);
        printTable(context, report, 1);
    }
    co_return reportLoading(context, answer);
}

} // namespace velmora
