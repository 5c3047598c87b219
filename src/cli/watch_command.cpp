// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/loading.h"
#include "cli/report_follower.h"
#include "cli/watch_display.h"
#include "control/control.h"

namespace velmora
{

namespace
{

WatchFormat formatOf(const CommandContext &context, const CommandLine &line)
{
    if (line.isJSON)
        return WatchFormat::JSON;
    if (line.isOnce)
        return WatchFormat::Table;
    return context.out->isLive() ? WatchFormat::Live : WatchFormat::Plain;
}

/// Shows the reports of the source during its lifetime.
class Watching final : public QObject
{
public:
    Watching(const CommandContext &context, ReportSource *source, const CommandLine &line)
        : m_display(
            makeWatchDisplay(formatOf(context, line), context.out, context.err, context.terminalEvents, context.clock))
        , m_follower(source, context.out, [this](const MonitorReport &report) { m_display->show(report); })
    {
        connect(source, &ReportSource::announced, this, [this](const auto &notification) {
            m_display->announce(notification);
            m_follower.endWhenClosed();
        });
        connect(m_display.get(), &WatchDisplay::quitRequested, &m_follower, &ReportFollower::finish);
        // A table is printed once, after the refresh.
        if (formatOf(context, line) != WatchFormat::Table)
            connect(source, &ReportSource::reportChanged, &m_follower, &ReportFollower::update);
    }

    [[nodiscard]] ReportFollower &follower() { return m_follower; }
    void show(const MonitorReport &report) { m_display->show(report); }

private:
    std::unique_ptr<WatchDisplay> m_display;
    ReportFollower m_follower;
};

QCoro::Task<ExitCode> watchOnce(CommandContext context, CommandLine line)
{
    Control *const control = context.control;
    Watching watching(context, control, line);
    const LoadingAnswer answer = co_await control->refresh(context.stop);
    if (answer.hasAccounts) {
        const MonitorReport report = co_await control->report(context.stop);
        watching.show(report);
    }
    co_return reportLoading(context, answer);
}

QCoro::Task<ExitCode> watchOn(CommandContext context, CommandLine line)
{
    Watching watching(context, context.reports, line);
    const OneShot<> done = watching.follower().done();
    const auto interrupt = [done] {
        done.resolve();
    };
    const std::stop_callback onStop(context.stop, interrupt);
    watching.follower().update();
    context.reports->follow();
    co_await done;
    co_return ExitCode::Done;
}

} // namespace

QCoro::Task<ExitCode> runWatch(CommandContext context, CommandLine line)
{
    if (line.isOnce)
        return watchOnce(std::move(context), std::move(line));
    return watchOn(std::move(context), std::move(line));
}

} // namespace velmora
