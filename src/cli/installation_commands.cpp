// SPDX-License-Identifier: MIT
#include "cli/choices.h"
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/loading.h"
#include "cli/printed_records.h"
#include "installations/installation_store.h"

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

void printInstallations(const CommandContext &context, const CommandLine &line)
{
    const auto &installations = context.installations->installations();
    const auto &sessions = context.authentication->sessions();
    if (line.isJSON) {
        context.out->write(installationsJSON(installations, sessions) + '\n');
        return;
    }
    if (installations.isEmpty()) {
        context.out->writeLine(
            QStringLiteral("Velmora is not installed anywhere. Install it: %1").arg(context.installationURL.text()));
        return;
    }
    QList<QStringList> rows;
    for (const auto &record : installations)
        rows.append(
            {yesNo(record.isEnabled), record.id(), record.installation.account.login, record.installation.account.type,
                record.installation.repositorySelection, loginOf(record.identityID, sessions)});
    print(context.out,
        {QStringLiteral("WATCHED"), QStringLiteral("KEY"), QStringLiteral("ACCOUNT"), QStringLiteral("TYPE"),
            QStringLiteral("REPOSITORIES"), QStringLiteral("SEEN BY")},
        rows);
}

void printRepositories(const CommandContext &context, const CommandLine &line)
{
    QSet<QString> monitored;
    const auto watched = context.installations->monitoredRepositories();
    for (const auto &record : watched)
        monitored.insert(record.id());
    const auto &repositories = context.installations->repositories();
    if (line.isJSON) {
        context.out->write(repositoriesJSON(repositories, monitored) + '\n');
        return;
    }
    if (repositories.isEmpty()) {
        context.out->writeLine(QStringLiteral("No repositories. Choose where Velmora is installed: %1")
                                   .arg(context.installationURL.text()));
        return;
    }
    QList<QStringList> rows;
    for (const auto &record : repositories) {
        const bool isOff = record.isIncluded && !monitored.contains(record.id());
        rows.append(
            {isOff ? QStringLiteral("installation off") : yesNo(record.isIncluded), record.repository.nameWithOwner,
                record.repository.isPrivate ? QStringLiteral("private") : QStringLiteral("public"),
                record.installationAccount.login});
    }
    print(context.out,
        {QStringLiteral("WATCHED"), QStringLiteral("REPOSITORY"), QStringLiteral("VISIBILITY"),
            QStringLiteral("INSTALLED ON")},
        rows);
}

/// Prints why the first of the names means nothing; false when there is one.
bool areKnown(const CommandContext &context, const QList<Choice> &choices)
{
    for (const Choice &choice : choices) {
        if (!choice.error.isEmpty()) {
            context.err->writeLine(choice.error);
            return false;
        }
    }
    return true;
}

} // namespace

QCoro::Task<ExitCode> runInstallations(CommandContext context, CommandLine line)
{
    InstallationStore *store = context.installations;
    const ExitCode loaded = co_await loadInstallations(context);
    if (context.stop.stop_requested() || context.authentication->sessions().isEmpty())
        co_return ExitCode::Failed;
    const QList<Choice> enabled = chooseInstallations(line.enable, store->installations());
    const QList<Choice> disabled = chooseInstallations(line.disable, store->installations());
    if (!areKnown(context, enabled + disabled))
        co_return ExitCode::Failed;
    for (const Choice &choice : enabled)
        store->setInstallation(choice.id, true);
    for (const Choice &choice : disabled)
        store->setInstallation(choice.id, false);
    printInstallations(context, line);
    co_return loaded;
}

QCoro::Task<ExitCode> runRepositories(CommandContext context, CommandLine line)
{
    InstallationStore *store = context.installations;
    const ExitCode loaded = co_await loadInstallations(context);
    if (context.stop.stop_requested() || context.authentication->sessions().isEmpty())
        co_return ExitCode::Failed;
    const QList<Choice> included = chooseRepositories(line.include, store->repositories());
    const QList<Choice> excluded = chooseRepositories(line.exclude, store->repositories());
    if (!areKnown(context, included + excluded))
        co_return ExitCode::Failed;
    if (line.isAll || line.isNone)
        store->setAllRepositories(line.isAll);
    for (const Choice &choice : included)
        store->setRepository(choice.id, true);
    for (const Choice &choice : excluded)
        store->setRepository(choice.id, false);
    printRepositories(context, line);
    co_return loaded;
}

} // namespace velmora
