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

QStringList headerOf(const QList<ListedInstallation> &)
{
    return {QStringLiteral("WATCHED"), QStringLiteral("KEY"), QStringLiteral("ACCOUNT"), QStringLiteral("TYPE"),
        QStringLiteral("REPOSITORIES"), QStringLiteral("SEEN BY")};
}

QStringList headerOf(const QList<ListedRepository> &)
{
    return {QStringLiteral("WATCHED"), QStringLiteral("REPOSITORY"), QStringLiteral("VISIBILITY"),
        QStringLiteral("INSTALLED ON")};
}

QStringList rowOf(const ListedInstallation &listed)
{
    return {listed.isSuspended ? QStringLiteral("suspended") : yesNo(listed.isEnabled), listed.key, listed.account,
        listed.type, listed.repositorySelection, listed.identity};
}

QStringList rowOf(const ListedRepository &listed)
{
    const bool isOff = listed.isIncluded && !listed.isMonitored;
    return {isOff ? QStringLiteral("installation off") : yesNo(listed.isIncluded), listed.name,
        listed.isPrivate ? QStringLiteral("private") : QStringLiteral("public"), listed.account};
}

QString nothingText(const InstallationsAnswer &answer)
{
    return notInstalledText(answer.installationURL);
}

QString nothingText(const RepositoriesAnswer &answer)
{
    return noRepositoriesText(answer.installationURL);
}

template <typename Answer>
void print(const CommandContext &context, bool isJSON, const Answer &answer)
{
    if (isJSON) {
        context.out->write(harmlessJSON(encodeJSON(answer.listed)) + '\n');
        return;
    }
    if (answer.listed.isEmpty()) {
        context.out->writeLine(nothingText(answer));
        return;
    }
    QList<QStringList> rows;
    for (const auto &listed : answer.listed)
        rows.append(rowOf(listed));
    context.out->writeRawLines(renderColumns(headerOf(answer.listed), rows));
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
    print(context, isJSON, answer);
    co_return loaded;
}

} // namespace

QCoro::Task<ExitCode> runInstallations(CommandContext context, CommandLine line)
{
    const InstallationChoices choices{line.enable, line.disable};
    return loadAndPrint(context, line.isJSON, context.control->installations(choices, context.stop));
}

QCoro::Task<ExitCode> runRepositories(CommandContext context, CommandLine line)
{
    RepositoryChoices choices;
    choices.include = line.include;
    choices.exclude = line.exclude;
    if (line.isAll || line.isNone)
        choices.all = line.isAll;
    return loadAndPrint(context, line.isJSON, context.control->repositories(choices, context.stop));
}

} // namespace velmora
