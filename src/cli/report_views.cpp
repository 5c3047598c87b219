// SPDX-License-Identifier: MIT
#include "cli/report_views.h"

#include "cli/deployment_table.h"
#include "cli/printed_report.h"
#include "support/clock.h"

#include <QSocketNotifier>

#include <memory>
#include <sys/stat.h>

namespace velmora
{

namespace
{

using LineOf = std::function<QByteArray(const MonitorReport &)>;

std::function<void(const MonitorReport &)> printNewLines(Terminal *out, const LineOf &lineOf)
{
    return [out, lineOf, last = std::make_shared<std::optional<QByteArray>>()](const MonitorReport &report) {
        const QByteArray line = lineOf(report);
        if (*last == line)
            return;
        *last = line;
        out->write(line + '\n');
    };
}

std::function<void(const DeploymentNotification &)> printAnnouncements(Terminal *out)
{
    return [out](const DeploymentNotification &notification) {
        out->writeLine(QStringLiteral("* ") + announcementText(notification));
    };
}

bool isPipe(int descriptor)
{
    struct stat status {
    };
    return ::fstat(descriptor, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

QByteArray jsonLineOf(const MonitorReport &report)
{
    return jsonLine(report);
}

} // namespace

ReportView jsonView(Terminal *out)
{
    ReportView view;
    view.show = printNewLines(out, jsonLineOf);
    view.announce = [out](const DeploymentNotification &notification) {
        out->write(jsonLine(notification) + '\n');
    };
    return view;
}

ReportView statusView(Terminal *out, const std::optional<StatusLine> &format)
{
    ReportView view;
    view.show = printNewLines(
        out, [format](const MonitorReport &report) { return format ? format->lineOf(report) : jsonLine(report); });
    view.announce = [](const DeploymentNotification &) {
    };
    return view;
}

ReportView changesView(Terminal *out)
{
    ReportView view;
    view.show = [out, last = std::make_shared<MonitorReport>()](const MonitorReport &report) {
        out->writeRawLines(renderChanges(*last, report));
        *last = report;
    };
    view.announce = printAnnouncements(out);
    return view;
}

ReportView tableView(const CommandContext &context)
{
    ReportView view;
    view.show = [context](const MonitorReport &report) {
        printTable(context, report);
    };
    view.announce = printAnnouncements(context.out);
    return view;
}

void printTable(const CommandContext &context, const MonitorReport &report, int height)
{
    const TableStyle style{context.out->size().width(), height, context.out->isColoured()};
    context.out->writeRawLines(renderReport(report, {}, context.clock->now(), style));
}

QCoro::Task<ExitCode> followUntilEnd(CommandContext context, ReportView view)
{
    std::stop_source end;
    Terminal *const out = context.out;
    const auto finish = [end] {
        end.request_stop();
    };
    const auto finishWhenClosed = [out, end] {
        if (out->isClosed())
            end.request_stop();
    };
    const std::stop_callback onStop(context.stop, finish);
    // Detects at once that the reader of a pipe has gone, not only at the next write.
    QSocketNotifier readerGone(out->descriptor(), QSocketNotifier::Exception);
    readerGone.setEnabled(isPipe(out->descriptor()));
    QObject::connect(&readerGone, &QSocketNotifier::activated, &readerGone, finish);
    ReportView ending;
    ending.show = [view, finishWhenClosed](const MonitorReport &report) {
        view.show(report);
        finishWhenClosed();
    };
    ending.announce = [view, finishWhenClosed](const DeploymentNotification &notification) {
        view.announce(notification);
        finishWhenClosed();
    };
    co_await followReports(context.reports, ending, end.get_token());
    co_return ExitCode::Done;
}

} // namespace velmora
