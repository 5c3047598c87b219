// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/loading.h"
#include "cli/plain_text.h"
#include "control/control.h"
#include "control/control_texts.h"
#include "presentation/accounts_presentation.h"
#include "support/json.h"

namespace velmora
{

namespace
{

void printAccounts(const CommandContext &context, const QList<ListedAccount> &accounts)
{
    if (accounts.isEmpty()) {
        context.out->writeLine(noAccountText());
        return;
    }
    QList<QStringList> rows;
    for (const auto &account : accounts)
        rows.append({account.login, sessionStatusText(account.status)});
    context.out->writeRawLines(renderColumns({QStringLiteral("ACCOUNT"), QStringLiteral("STATUS")}, rows));
    for (const auto &account : accounts) {
        if (account.advice)
            context.err->writeLine(*account.advice + QStringLiteral(" Run “velmora connect”."));
    }
}

} // namespace

QCoro::Task<ExitCode> runAccounts(CommandContext context, CommandLine line)
{
    const QList<ListedAccount> accounts = co_await context.control->accounts(context.stop);
    if (line.isJSON)
        context.out->write(harmlessJSON(encodeJSON(accounts)) + '\n');
    else
        printAccounts(context, accounts);
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

} // namespace velmora
