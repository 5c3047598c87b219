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

using LineOf = std::function<QByteArray(const MonitorReport &, Instant now)>;

/// A line that differs only because time has passed is not new.
std::function<void(const MonitorReport &)> printNewLines(const CommandContext &context, const LineOf &lineOf)
{
    return [out = context.out, clock = context.clock, lineOf, last = std::make_shared<std::optional<QByteArray>>()](
               const MonitorReport &report) {
        QByteArray timeless = lineOf(report, distantPast());
        if (*last == timeless)
            return;
        *last = std::move(timeless);
        out->write(lineOf(report, clock->now()) + '\n');
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

} // namespace

ReportView jsonView(const CommandContext &context)
{
    ReportView view;
    const LineOf lineOf = [](const MonitorReport &report, Instant now) {
        return jsonLine(report, now);
    };
    view.show = printNewLines(context, lineOf);
    view.announce = [out = context.out](const DeploymentNotification &notification) {
        out->write(jsonLine(notification) + '\n');
    };
    return view;
}

ReportView statusView(const CommandContext &context, const std::optional<StatusLine> &format)
{
    ReportView view;
    view.show = printNewLines(context, [format](const MonitorReport &report, Instant now) {
        return format ? format->lineOf(report) : jsonLine(report, now);
    });
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
