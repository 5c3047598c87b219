// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/loading.h"
#include "cli/signal_waiting.h"
#include "cli/terminal_notifier.h"
#include "cli/watch_display.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "notifications/general_settings_store.h"
#include "support/clock.h"
#include "support/task_scope.h"

#include <QSocketNotifier>

#include <sys/stat.h>

namespace velmora
{

namespace
{

QString hint(const CommandContext &context)
{
    if (context.monitor->state().state != DeploymentMonitorState::Case::Disconnected)
        return QString();
    if (context.authentication->sessions().isEmpty())
        return QStringLiteral("No GitHub account is connected. Run “velmora connect” to connect one.");
    if (context.installations->repositories().isEmpty())
        return QStringLiteral("No repositories. Choose where Velmora is installed: %1")
            .arg(context.installationURL.text());
    return QStringLiteral("No repository is watched. Run “velmora repositories --all” to watch them.");
}

MonitorReport reportOf(const CommandContext &context)
{
    const DeploymentMonitor *monitor = context.monitor;
    MonitorReport report;
    report.applicationName = context.applicationName;
    report.state = monitor->state();
    report.deployments = monitor->deployments();
    report.lastRefreshedAt = monitor->lastRefreshedAt();
    report.message = monitor->message();
    report.hint = hint(context);
    return report;
}

WatchFormat formatOf(const CommandContext &context, const CommandLine &line)
{
    if (line.isJSON)
        return WatchFormat::JSON;
    if (line.isOnce)
        return WatchFormat::Table;
    return context.out->isLive() ? WatchFormat::Live : WatchFormat::Plain;
}

/// Shows what the monitor publishes for as long as it lives, and knows when the person has had enough.
class Watching final : public QObject
{
public:
    Watching(CommandContext context, const CommandLine &line)
        : m_context(std::move(context))
        , m_format(formatOf(m_context, line))
        , m_display(makeWatchDisplay(m_format, m_context.out, m_context.err, m_context.terminalEvents, m_context.clock))
        , m_readerGone(m_context.out->descriptor(), QSocketNotifier::Exception)
    {
        connect(m_context.notifier, &TerminalNotifier::posted, this, [this](const auto &notification) {
            m_display->announce(notification);
            endWhenClosed();
        });
        connect(m_context.notifier, &TerminalNotifier::desktopFailed, this,
            [this](const QString &description) { m_context.err->writeLine(description); });
        connect(m_display.get(), &WatchDisplay::quitRequested, this, [this] { m_done.resolve(); });
        // A pipe whose reader has gone is noticed at once, not with the next thing there is to tell.
        m_readerGone.setEnabled(isPipe());
        connect(&m_readerGone, &QSocketNotifier::activated, this, [this] { m_done.resolve(); });
        if (m_format != WatchFormat::Table)
            connect(m_context.monitor, &DeploymentMonitor::changed, this, &Watching::show);
        connect(m_context.installations, &InstallationStore::repositoriesChanged, this, &Watching::showHint);
    }

    void show()
    {
        m_shown = reportOf(m_context);
        m_display->show(m_shown);
        endWhenClosed();
    }

    /// Resolved when there is nobody to watch any more.
    [[nodiscard]] const OneShot<> &done() const { return m_done; }

private:
    void showHint()
    {
        if (m_format != WatchFormat::Table && m_shown.hint != hint(m_context))
            show();
    }

    void endWhenClosed()
    {
        if (m_context.out->isClosed())
            m_done.resolve();
    }

    [[nodiscard]] bool isPipe() const;

    CommandContext m_context;
    WatchFormat m_format;
    std::unique_ptr<WatchDisplay> m_display;
    QSocketNotifier m_readerGone;
    MonitorReport m_shown;
    OneShot<> m_done;
};

bool Watching::isPipe() const
{
    struct stat status {
    };
    return ::fstat(m_context.out->descriptor(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

/// Everything once. Waits for nobody when it is stopped: the stores end by themselves.
QCoro::Task<> refreshOnce(CommandContext context, OneShot<> done)
{
    const QPointer<DeploymentMonitor> monitor(context.monitor);
    co_await context.installations->refresh(context.authentication, context.stop);
    if (monitor && !context.stop.stop_requested())
        co_await monitor->refreshAll(context.authentication, context.installations, context.clock->now());
    done.resolve();
}

/// Prints why not every identity succeeded.
ExitCode reportResult(const CommandContext &context)
{
    const DeploymentMonitorState state = context.monitor->state();
    QStringList reasons = context.monitor->message().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const auto &failure : context.installations->failures())
        reasons.append(failure.login + QStringLiteral(": ") + failure.description);
    reasons.removeDuplicates();
    for (const QString &reason : std::as_const(reasons))
        context.err->writeLine(reason);
    using Case = DeploymentMonitorState::Case;
    if (state.state == Case::RateLimited && reasons.isEmpty())
        context.err->writeLine(QStringLiteral("GitHub has asked Velmora to pause until %1.")
                                   .arg(toISO8601(state.resumeAt.value_or(context.clock->now()))));
    const bool isComplete = state.state == Case::Ready || state.state == Case::Disconnected;
    return isComplete && reasons.isEmpty() ? ExitCode::Done : ExitCode::Failed;
}

QCoro::Task<ExitCode> watchOnce(CommandContext context, CommandLine line)
{
    if (context.authentication->sessions().isEmpty())
        co_return reportNoAccount(context);
    Watching watching(context, line);
    const OneShot<> done = watching.done();
    const auto interrupt = [done] {
        done.resolve();
    };
    const std::stop_callback onStop(context.stop, interrupt);
    launch(refreshOnce(context, done), "the refresh");
    co_await done;
    if (context.stop.stop_requested()) {
        context.err->writeLine(QStringLiteral("Cancelled."));
        co_return ExitCode::Failed;
    }
    watching.show();
    co_return reportResult(context);
}

QCoro::Task<ExitCode> watchOn(CommandContext context, CommandLine line)
{
    Watching watching(context, line);
    const OneShot<> done = watching.done();
    const auto interrupt = [done] {
        done.resolve();
    };
    const std::stop_callback onStop(context.stop, interrupt);
    watching.show();
    context.monitor->start(context.authentication, context.installations);
    launch(context.settings->prepareNotifications(), "preparing notifications");
    launch(context.monitor->tick(context.authentication, context.installations, context.clock->now()),
        "the first refresh");
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
