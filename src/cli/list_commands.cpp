// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/loading.h"
#include "cli/plain_text.h"
#include "cli/printed_report.h"
#include "control/control.h"
#include "control/control_texts.h"
#include "presentation/accounts_presentation.h"
#include "presentation/deployment_sections.h"
#include "presentation/muting_texts.h"
#include "support/clock.h"
#include "support/json.h"

namespace velmora
{

namespace
{

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

QStringList headerOf(const QList<ListedAccount> &)
{
    return {QStringLiteral("ACCOUNT"), QStringLiteral("STATUS")};
}

QStringList headerOf(const QList<ListedInstallation> &)
{
    return {QStringLiteral("WATCHED"), QStringLiteral("KEY"), QStringLiteral("ACCOUNT"), QStringLiteral("TYPE"),
        QStringLiteral("REPOSITORIES"), QStringLiteral("SEEN BY")};
}

/// The last column is there only if a repository is muted.
QStringList headerOf(const QList<ListedRepository> &list)
{
    QStringList header{QStringLiteral("WATCHED"), QStringLiteral("REPOSITORY"), QStringLiteral("VISIBILITY"),
        QStringLiteral("INSTALLED ON")};
    if (std::ranges::any_of(list, &ListedRepository::isMuted))
        header.append(QStringLiteral("NOTIFICATIONS"));
    return header;
}

QStringList rowOf(const ListedAccount &listed, Instant)
{
    return {listed.login, sessionStatusText(listed.status)};
}

QStringList rowOf(const ListedInstallation &listed, Instant)
{
    return {listed.isSuspended ? QStringLiteral("suspended") : yesNo(listed.isEnabled), listed.key, listed.account,
        listed.type, listed.repositorySelection, listed.identity};
}

QStringList rowOf(const ListedRepository &listed, Instant now)
{
    const bool isOff = listed.isIncluded && !listed.isMonitored;
    QStringList row{isOff ? QStringLiteral("installation off") : yesNo(listed.isIncluded), listed.name,
        listed.isPrivate ? QStringLiteral("private") : QStringLiteral("public"), listed.account};
    if (listed.isMuted)
        row.append(mutedText(Term{now, listed.mutedUntil}, now));
    return row;
}

QStringList rowOf(DeploymentNotificationKind kind, bool isOn)
{
    return {yesNo(isOn), rawValue(kind)};
}

QStringList rowOf(const DeploymentSnapshot &failure, const FailureMark &mark, Instant now)
{
    return {yesNo(mark.isCounted), failure.repositoryName, failure.environment,
        deploymentDetails(failure, now, mark).join(QStringLiteral(" · "))};
}

QStringList rowOf(const ListedEnvironment &listed)
{
    const QString scope = listed.repository ? *listed.repository + QLatin1Char(':') : QString();
    return {rawValue(listed.choice), scope + listed.environment, QString::number(listed.repositories)};
}

QString nothingText(const InstallationsAnswer &answer)
{
    return notInstalledText(answer.installationURL);
}

QString nothingText(const RepositoriesAnswer &answer)
{
    return noRepositoriesText(answer.installationURL);
}

/// Prints JSON or a table; instead of an empty table the text.
template <typename Listed>
void print(const CommandContext &context, bool isJSON, const QList<Listed> &list, const QString &nothing)
{
    QList<QStringList> rows;
    for (const Listed &listed : list)
        rows.append(rowOf(listed, context.clock->now()));
    if (isJSON)
        context.out->write(harmlessJSON(encodeJSON(list, InstantForm::ISO8601)) + '\n');
    else if (list.isEmpty())
        context.out->writeLine(nothing);
    else
        context.out->writeRawLines(renderColumns(headerOf(list), rows));
}

/// Prints the failures of loading and switching. Prints the list only if no name was refused, there is an account, and
/// the changes were saved.
template <typename Answer>
QCoro::Task<ExitCode> loadAndPrint(CommandContext context, bool isJSON, QCoro::Task<Answer> work)
{
    const QString text = QStringLiteral("Loading repositories from GitHub…");
    const Answer answer = co_await withProgress(context, text, std::move(work));
    const ExitCode loaded = reportLoading(context, answer.loading);
    if (!answer.refusal.isEmpty())
        context.err->writeLine(answer.refusal);
    if (!answer.refusal.isEmpty() || !answer.loading.hasAccounts || !isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    print(context, isJSON, answer.listed, nothingText(answer));
    co_return loaded;
}

} // namespace

QCoro::Task<ExitCode> runAccounts(CommandContext context, CommandLine line)
{
    const QList<ListedAccount> accounts = co_await context.control->accounts(context.stop);
    print(context, line.isJSON, accounts, noAccountText());
    for (const ListedAccount &account : accounts) {
        if (account.advice && !line.isJSON)
            context.err->writeLine(*account.advice + QStringLiteral(" Run “velmora connect”."));
    }
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runRemoveAccount(CommandContext context, CommandLine line)
{
    const RemovalAnswer answer = co_await context.control->removeAccount(line.login, context.stop);
    if (!answer.refusal.isEmpty()) {
        context.err->writeLine(answer.refusal);
        co_return ExitCode::Failed;
    }
    if (!isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    context.out->writeLine(QStringLiteral("Removed %1.").arg(answer.login));
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runInstallations(CommandContext context, CommandLine line)
{
    const Switches switches{std::nullopt, line.enable, line.disable};
    return loadAndPrint(context, line.isJSON, context.control->installations(switches, context.stop));
}

QCoro::Task<ExitCode> runRepositories(CommandContext context, CommandLine line)
{
    Switches switches{std::nullopt, line.include, line.exclude};
    if (line.isAll || line.isNone)
        switches.all = line.isAll;
    return loadAndPrint(context, line.isJSON, context.control->repositories(switches, context.stop));
}

QCoro::Task<ExitCode> runMute(CommandContext context, CommandLine line)
{
    const Instant now = context.clock->now();
    const auto until = line.duration ? std::optional<Instant>(now + *line.duration) : std::nullopt;
    const MutingSwitch muting{line.repository, line.command == CommandLine::Command::Mute, until};
    const QString text = QStringLiteral("Loading repositories from GitHub…");
    const MutingAnswer answer = co_await withProgress(context, text, context.control->mute(muting, context.stop));
    const ExitCode loaded = reportLoading(context, answer.loading);
    if (!answer.loading.hasAccounts)
        co_return loaded;
    if (!answer.refusal.isEmpty())
        context.err->writeLine(answer.refusal);
    if (!answer.refusal.isEmpty() || !isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    if (line.isJSON)
        context.out->write(jsonLine(answer) + '\n');
    else if (answer.isMuted)
        context.out->writeLine(
            QStringLiteral("%1 is %2.").arg(answer.repository, mutedText(Term{now, answer.mutedUntil}, now)));
    else
        context.out->writeLine(QStringLiteral("%1 is not muted.").arg(answer.repository));
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runPause(CommandContext context, CommandLine line)
{
    const Instant now = context.clock->now();
    PauseSwitch pause{line.command == CommandLine::Command::Pause, std::nullopt};
    if (line.duration)
        pause.until = now + *line.duration;
    else if (line.until)
        pause.until = nextLocalTime(*line.until, now);
    const PauseAnswer answer = co_await context.control->pause(pause, context.stop);
    if (!isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    const auto term = answer.isPaused ? std::optional(Term{now, answer.pausedUntil}) : std::nullopt;
    if (line.isJSON)
        context.out->write(jsonLine(answer) + '\n');
    else if (term)
        context.out->writeLine(pausedText(term, now) + QLatin1Char('.'));
    else
        context.out->writeLine(QStringLiteral("Notifications are not paused."));
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runNotifications(CommandContext context, CommandLine line)
{
    const NotificationSwitches switches{line.enable, line.disable, line.onlyMine};
    const NotificationsAnswer answer = co_await context.control->notifications(switches, context.stop);
    if (!answer.refusal.isEmpty())
        context.err->writeLine(answer.refusal);
    if (!answer.refusal.isEmpty() || !isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    const NotificationChoices &choices = answer.choices;
    const QList<QStringList> rows{rowOf(DeploymentNotificationKind::Failure, choices.failures),
        rowOf(DeploymentNotificationKind::Success, choices.successes),
        rowOf(DeploymentNotificationKind::Waiting, choices.approvals)};
    if (line.isJSON) {
        context.out->write(harmlessJSON(encodeJSON(choices)) + '\n');
    } else {
        context.out->writeRawLines(renderColumns({QStringLiteral("NOTIFY"), QStringLiteral("ABOUT")}, rows));
        context.out->writeLine(choices.onlyMine ? QStringLiteral("Only deployments that you started count.")
                                                : QStringLiteral("Everybody's deployments count."));
    }
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runEnvironments(CommandContext context, CommandLine line)
{
    const EnvironmentSwitches switches{line.notify, line.show, line.hide, line.onlyProduction};
    const EnvironmentsAnswer answer = co_await context.control->environments(switches, context.stop);
    if (!answer.refusal.isEmpty())
        context.err->writeLine(answer.refusal);
    if (!answer.refusal.isEmpty() || !isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    const ListedEnvironments &choices = answer.choices;
    if (line.isJSON) {
        context.out->write(harmlessJSON(encodeJSON(choices)) + '\n');
        co_return ExitCode::Done;
    }
    QList<QStringList> rows;
    for (const ListedEnvironment &listed : choices.environments)
        rows.append(rowOf(listed));
    if (rows.isEmpty())
        context.out->writeLine(QStringLiteral("No environment was seen in the last 30 days."));
    else
        context.out->writeRawLines(renderColumns(
            {QStringLiteral("CHOICE"), QStringLiteral("ENVIRONMENT"), QStringLiteral("REPOSITORIES")}, rows));
    if (choices.onlyProduction)
        context.out->writeLine(QStringLiteral("Of what is not chosen, only production is announced."));
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runFailures(CommandContext context, CommandLine line)
{
    FailureSwitches switches{line.ignoresMended, {std::nullopt, line.dismiss, line.restore}};
    if (line.isAll || line.isNone)
        switches.dismissed.all = line.isAll;
    const FailuresAnswer answer = co_await context.control->failures(switches, context.stop);
    if (!answer.refusal.isEmpty())
        context.err->writeLine(answer.refusal);
    if (!answer.refusal.isEmpty() || !isSaved(context, answer.unsaved))
        co_return ExitCode::Failed;
    const Instant now = context.clock->now();
    if (line.isJSON) {
        context.out->write(jsonLine(answer, now) + '\n');
        co_return ExitCode::Done;
    }
    QList<QStringList> rows;
    for (const DeploymentSnapshot &deployment : answer.deployments)
        rows.append(rowOf(deployment, answer.marks.value(deployment.id), now));
    if (rows.isEmpty())
        context.out->writeLine(QStringLiteral("There are no failures."));
    else
        context.out->writeRawLines(renderColumns({QStringLiteral("COUNTS"), QStringLiteral("REPOSITORY"),
                                                     QStringLiteral("ENVIRONMENT"), QStringLiteral("FAILURE")},
            rows));
    context.out->writeLine(answer.ignoresMended ? QStringLiteral("Mended failures no longer count.")
                                                : QStringLiteral("Mended failures count."));
    co_return ExitCode::Done;
}

} // namespace velmora
