// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_wait.h"
#include "cli/loading.h"
#include "cli/printed_report.h"
#include "control/control.h"
#include "presentation/row_presentation.h"
#include "support/clock.h"
#include "support/error.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

using Result = DeploymentWait::Result;

/// What was found out until the waiting ended.
struct Findings {
    bool isRefused = false; ///< the repository is not watched, which was printed
    std::optional<DeploymentSnapshot> deployment; ///< the awaited one
    FailureMark mark; ///< of the deployment, which may have failed before the waiting began
    std::optional<Result> result;
    QString hint; ///< what the user has to do before there is anything to wait for
    QString message; ///< a line for each identity that failed last
};

/// Why no deployment of the repository will be reported; empty if it is watched.
QString whyNotWatched(const RepositoriesAnswer &answer, const QString &name)
{
    const QList<ListedRepository> &listed = answer.listed;
    const auto isNamed = [&name](const ListedRepository &repository) {
        return repository.name.compare(name, Qt::CaseInsensitive) == 0;
    };
    const auto found = std::ranges::find_if(listed, isNamed);
    if (found == listed.end() && !answer.loading.isComplete)
        return QStringLiteral("%1 is not among the repositories that could be loaded.").arg(name);
    if (found == listed.end())
        return QStringLiteral("There is no repository %1. “velmora repositories” lists them.").arg(name);
    if (!found->isIncluded)
        return QStringLiteral("%1 is not watched. Run “velmora repositories --include %1” to watch it.")
            .arg(found->name);
    if (!found->isMonitored)
        return QStringLiteral("%1 is not watched. Run “velmora installations --enable %2” to watch it.")
            .arg(found->name, found->installation);
    return QString();
}

/// Whether the repository is watched. Prints what could not be loaded, and why it is not watched.
bool isWatched(const CommandContext &context, const RepositoriesAnswer &answer, const QString &name)
{
    std::ignore = reportLoading(context, answer.loading);
    if (!answer.loading.hasAccounts)
        return false;
    const QString reason = whyNotWatched(answer, name);
    if (!reason.isEmpty())
        context.err->writeLine(reason);
    return reason.isEmpty();
}

QString waitingText(const AwaitedDeployments &awaited)
{
    QString text = QStringLiteral("Waiting for a deployment of ") + awaited.repository;
    if (!awaited.environment.isEmpty())
        text += QStringLiteral(" to ") + awaited.environment;
    return awaited.commit.isEmpty() ? text : text + QStringLiteral(" at ") + awaited.commit;
}

/// The state stands at the end, where a narrow terminal shows it.
QString progressText(const DeploymentSnapshot &deployment, Instant now)
{
    return QStringLiteral("Waiting for %1, %2: %3")
        .arg(deployment.repositoryName, deployment.environment, stateAndElapsed(deployment, now));
}

/// Follows the reports until the awaited deployment has ended, which stops `end`, or until that stops.
QCoro::Task<> findOut(CommandContext context, AwaitedDeployments awaited, Findings *findings, std::stop_source end)
{
    const QString loading = QStringLiteral("Loading repositories from GitHub…");
    auto work = context.control->repositories(Switches(), context.stop);
    const RepositoriesAnswer answer = co_await withProgress(context, loading, std::move(work));
    findings->isRefused = !isWatched(context, answer, awaited.repository);
    if (findings->isRefused)
        co_return;
    using Currency = DeploymentWait::Currency;
    DeploymentWait wait(awaited, answer.loading.isComplete ? Currency::OfAllIdentities : Currency::OfAny);
    const auto text = [&] {
        return wait.deployment() ? progressText(*wait.deployment(), context.clock->now()) : waitingText(awaited);
    };
    const ProgressLine progress(context.err, text);
    ReportView view;
    view.show = [&](const MonitorReport &report) {
        findings->result = wait.resultAfter(report);
        findings->deployment = wait.deployment();
        findings->mark = findings->deployment ? report.marks.value(findings->deployment->id) : FailureMark();
        findings->hint = report.hint;
        findings->message = report.message;
        progress.redraw();
        if (findings->result || !findings->hint.isEmpty())
            end.request_stop();
    };
    view.announce = [](const DeploymentNotification &) {
    };
    co_await followReports(context.reports, view, context.stop);
}

QCoro::Task<> stopAfter(Clock *clock, std::chrono::seconds limit, std::stop_source end, std::stop_token stop)
{
    co_await clock->sleep(limit, stop);
    end.request_stop();
}

/// Why the code is not Done.
QStringList explanation(const Findings &findings)
{
    if (findings.result == Result::Failed)
        return {QStringLiteral("The deployment %1: %2")
                    .arg(stateWords(findings.deployment->state), detailsURL(*findings.deployment).text())};
    if (findings.result == Result::Gone)
        return {QStringLiteral("The deployment is not listed any more, and has not succeeded before.")};
    if (!findings.hint.isEmpty())
        return {findings.hint};
    return findings.message.split(QLatin1Char('\n'), Qt::SkipEmptyParts)
        + QStringList(findings.deployment ? QStringLiteral("The time is over: the deployment has not ended.")
                                          : QStringLiteral("The time is over: there was no deployment."));
}

ExitCode codeOf(const Findings &findings)
{
    if (findings.result == Result::Succeeded)
        return ExitCode::Done;
    return findings.result || !findings.hint.isEmpty() ? ExitCode::Failed : ExitCode::TimeOver;
}

ExitCode printFindings(const CommandContext &context, bool isJSON, const Findings &findings)
{
    const Instant now = context.clock->now();
    if (findings.deployment && isJSON)
        context.out->write(jsonLine(*findings.deployment, now, findings.mark) + '\n');
    else if (findings.deployment)
        context.out->writeLine(rowSentence(*findings.deployment, now, findings.mark));
    const ExitCode code = codeOf(findings);
    const QStringList lines = code == ExitCode::Done ? QStringList() : explanation(findings);
    for (const QString &line : lines)
        context.err->writeLine(line);
    return code;
}

} // namespace

QCoro::Task<ExitCode> runWait(CommandContext context, CommandLine line)
{
    std::stop_source end;
    const auto finish = [end] {
        end.request_stop();
    };
    const std::stop_callback onStop(context.stop, finish);
    const TaskScope scope;
    scope.launch(stopAfter(context.clock, line.timeout, end, scope.stopToken()), "the time of waiting");
    CommandContext limited = context;
    limited.stop = end.get_token();
    Findings findings;
    try {
        co_await findOut(limited, line.awaited, &findings, end);
    } catch (const CancellationError &) {
        // Either the user or the time has ended the waiting.
    }
    throwIfStopped(context.stop);
    co_return findings.isRefused ? ExitCode::Failed : printFindings(context, line.isJSON, findings);
}

} // namespace velmora
