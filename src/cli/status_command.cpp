// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/printed_report.h"
#include "cli/report_follower.h"
#include "cli/status_line.h"
#include "control/report_source.h"
#include "support/clock.h"

namespace velmora
{

namespace
{

void printTable(const CommandContext &context, const MonitorReport &report)
{
    const TableStyle style{context.out->size().width(), 0, context.out->isColoured()};
    const QStringList lines = renderReport(report, {}, context.clock->now(), style);
    for (const QString &text : lines)
        context.out->writeRawLine(text);
}

/// Prints reports as lines, without repeating a line.
class LinePrinter
{
public:
    LinePrinter(Terminal *out, std::optional<StatusLine> format)
        : m_out(out)
        , m_format(std::move(format))
    {
    }

    void print(const MonitorReport &report)
    {
        const QByteArray line = m_format ? m_format->lineOf(report) : jsonLine(report);
        if (m_last != line)
            m_out->write(line + '\n');
        m_last = line;
    }

private:
    Terminal *m_out;
    std::optional<StatusLine> m_format; ///< JSON without a format
    std::optional<QByteArray> m_last;
};

QCoro::Task<ExitCode> follow(CommandContext context, std::optional<StatusLine> format)
{
    LinePrinter printer(context.out, std::move(format));
    const ReportFollower::Show show = [&printer](const MonitorReport &report) {
        printer.print(report);
    };
    ReportFollower follower(context.reports, context.out, show);
    QObject::connect(context.reports, &ReportSource::reportChanged, &follower, &ReportFollower::update);
    const OneShot<> done = follower.done();
    const auto interrupt = [done] {
        done.resolve();
    };
    const std::stop_callback onStop(context.stop, interrupt);
    follower.update();
    context.reports->follow();
    co_await done;
    co_return ExitCode::Done;
}

} // namespace

QCoro::Task<ExitCode> runStatus(CommandContext context, CommandLine line)
{
    std::optional<StatusLine> format;
    if (!line.format.isEmpty())
        format = StatusLine::parse(line.format).line;
    if (line.isFollowing) {
        const ExitCode code = co_await follow(context, format);
        co_return code;
    }
    const MonitorReport report = co_await context.reports->report(context.stop);
    if (line.isJSON || format)
        LinePrinter(context.out, format).print(report);
    else
        printTable(context, report);
    co_return ExitCode::Done;
}

} // namespace velmora
