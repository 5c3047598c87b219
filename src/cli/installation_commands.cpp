// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/loading.h"
#include "cli/plain_text.h"
#include "control/control.h"
#include "control/control_texts.h"
#include "support/json.h"

namespace velmora
{

namespace
{

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

void print(Terminal *out, const QStringList &header, const QList<QStringList> &rows)
{
    const QStringList lines = renderColumns(header, rows);
    for (const QString &line : lines)
        out->writeRawLine(line);
}

void printInstallations(const CommandContext &context, const CommandLine &line, const InstallationsAnswer &answer)
{
    if (line.isJSON) {
        context.out->write(harmlessJSON(encodeJSON(answer.listed)) + '\n');
        return;
    }
    if (answer.listed.isEmpty()) {
        context.out->writeLine(notInstalledText(answer.installationURL));
        return;
    }
    QList<QStringList> rows;
    for (const auto &listed : answer.listed)
        rows.append({listed.isSuspended ? QStringLiteral("suspended") : yesNo(listed.isEnabled), listed.key,
            listed.account, listed.type, listed.repositorySelection, listed.identity});
    print(context.out,
        {QStringLiteral("WATCHED"), QStringLiteral("KEY"), QStringLiteral("ACCOUNT"), QStringLiteral("TYPE"),
            QStringLiteral("REPOSITORIES"), QStringLiteral("SEEN BY")},
        rows);
}

void printRepositories(const CommandContext &context, const CommandLine &line, const RepositoriesAnswer &answer)
{
    if (line.isJSON) {
        context.out->write(harmlessJSON(encodeJSON(answer.listed)) + '\n');
        return;
    }
    if (answer.listed.isEmpty()) {
        context.out->writeLine(noRepositoriesText(answer.installationURL));
        return;
    }
    QList<QStringList> rows;
    for (const auto &listed : answer.listed) {
        const bool isOff = listed.isIncluded && !listed.isMonitored;
        rows.append({isOff ? QStringLiteral("installation off") : yesNo(listed.isIncluded), listed.name,
            listed.isPrivate ? QStringLiteral("private") : QStringLiteral("public"), listed.account});
    }
    print(context.out,
        {QStringLiteral("WATCHED"), QStringLiteral("REPOSITORY"), QStringLiteral("VISIBILITY"),
            QStringLiteral("INSTALLED ON")},
        rows);
}

/// Prints the failures of loading and switching. True if the list should be printed: no name was refused, there is an
/// account, and the changes were saved.
template <typename Answer>
bool isWorthPrinting(const CommandContext &context, const Answer &answer)
{
    if (!answer.refusal.isEmpty())
        context.err->writeLine(answer.refusal);
    return answer.refusal.isEmpty() && answer.loading.hasAccounts && isSaved(context, answer.unsaved);
}

QString loadingText()
{
    return QStringLiteral("Loading repositories from GitHub…");
}

} // namespace

QCoro::Task<ExitCode> runInstallations(CommandContext context, CommandLine line)
{
    InstallationChoices choices;
    choices.enable = line.enable;
    choices.disable = line.disable;
    auto work = context.control->installations(choices, context.stop);
    const InstallationsAnswer answer = co_await withProgress(context, loadingText(), std::move(work));
    const ExitCode loaded = reportLoading(context, answer.loading);
    if (!isWorthPrinting(context, answer))
        co_return ExitCode::Failed;
    printInstallations(context, line, answer);
    co_return loaded;
}

QCoro::Task<ExitCode> runRepositories(CommandContext context, CommandLine line)
{
    RepositoryChoices choices;
    choices.include = line.include;
    choices.exclude = line.exclude;
    if (line.isAll || line.isNone)
        choices.all = line.isAll;
    auto work = context.control->repositories(choices, context.stop);
    const RepositoriesAnswer answer = co_await withProgress(context, loadingText(), std::move(work));
    const ExitCode loaded = reportLoading(context, answer.loading);
    if (!isWorthPrinting(context, answer))
        co_return ExitCode::Failed;
    printRepositories(context, line, answer);
    co_return loaded;
}

} // namespace velmora
