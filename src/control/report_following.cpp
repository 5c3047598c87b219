// SPDX-License-Identifier: MIT
#include "control/report_following.h"

#include "support/signal_waiting.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// How long after a failed call to wait for the news that its process has ended.
constexpr std::chrono::seconds kLongestParting{1};

/// What is done with a side until the stop, which is requested when the side is not the right one any more.
using Use = std::function<QCoro::Task<>(ReportSource *, std::stop_token)>;

/// Shows a report each time that `changed` is resolved, by the source or beforehand.
QCoro::Task<> showReports(ReportSource *source, ReportView view, OneShot<> changed, std::stop_token stop)
{
    const auto notice = [&changed] {
        changed.resolve();
    };
    const QObject connections;
    QObject::connect(source, &ReportSource::reportChanged, &connections, notice);
    QObject::connect(source, &ReportSource::announced, &connections, view.announce);
    const std::stop_callback onStop(stop, notice);
    while (true) {
        co_await changed;
        if (stop.stop_requested())
            co_return;
        changed = OneShot<>();
        const MonitorReport report = co_await source->report(stop);
        if (stop.stop_requested())
            co_return;
        view.show(report);
    }
}

/// Shows the present report first, so that what starting changes comes after it.
QCoro::Task<> startAndShow(ReportSource *source, ReportView view, std::stop_token stop)
{
    const OneShot<> changed;
    changed.resolve();
    const auto showing = showReports(source, view, changed, stop);
    source->start();
    co_await showing;
}

QCoro::Task<> useSide(ReportSides sides, bool isRunning, Use use, std::stop_token stop)
{
    ReportSource *source = sides.running;
    if (!isRunning)
        source = co_await sides.create(stop);
    // A Velmora may have started meanwhile.
    if (!stop.stop_requested())
        co_await use(source, stop);
}

/// Chooses a side and uses it until it ends or a better one comes, and goes on with that. Returns when the use has
/// ended by itself, or after the stop.
QCoro::Task<> useSides(ReportSides sides, Use use, std::stop_token stop)
{
    std::ignore = co_await sides.running->locate(stop);
    while (!stop.stop_requested()) {
        const bool isRunning = sides.running->isRunning();
        std::stop_source end;
        const auto leave = [end] {
            end.request_stop();
        };
        const std::stop_callback onStop(stop, leave);
        const QObject connections;
        QObject::connect(sides.running, &ReportSource::isRunningChanged, &connections, leave);
        const std::function<bool()> isLeft = [end] {
            return end.stop_requested();
        };
        std::exception_ptr failure;
        try {
            co_await useSide(sides, isRunning, use, end.get_token());
        } catch (...) {
            failure = std::current_exception();
        }
        // The news that the process has ended may arrive later than the failure.
        if (failure && isRunning)
            co_await untilTrue(sides.running, &ReportSource::isRunningChanged, isLeft, stop, kLongestParting);
        if (failure && !isLeft())
            std::rethrow_exception(failure);
        if (!isLeft())
            co_return;
        if (!isRunning && !stop.stop_requested())
            co_await sides.destroy(stop);
    }
}

QCoro::Task<> ask(ReportSource *source, std::optional<MonitorReport> *answer, std::stop_token stop)
{
    *answer = co_await source->report(stop);
}

} // namespace

QCoro::Task<> followReports(ReportSides sides, ReportView view, std::stop_token stop)
{
    const Use use = [view](ReportSource *source, std::stop_token end) {
        return startAndShow(source, view, std::move(end));
    };
    return useSides(std::move(sides), use, std::move(stop));
}

QCoro::Task<MonitorReport> currentReport(ReportSides sides, std::stop_token stop)
{
    std::optional<MonitorReport> answer;
    const Use use = [&answer](ReportSource *source, std::stop_token end) {
        return ask(source, &answer, std::move(end));
    };
    co_await useSides(sides, use, stop);
    throwIfStopped(stop);
    co_return std::move(*answer);
}

QCoro::Task<> showChanges(ReportSource *source, ReportView view, std::stop_token stop)
{
    return showReports(source, std::move(view), OneShot<>(), std::move(stop));
}

} // namespace velmora
