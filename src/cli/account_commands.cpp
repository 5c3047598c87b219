// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/plain_text.h"
#include "cli/printed_records.h"
#include "cli/signal_waiting.h"
#include "monitor/deployment_monitor.h"
#include "support/clock.h"

namespace velmora
{

namespace
{

/// A keyring that does not answer by then leaves the accounts as they are.
constexpr std::chrono::milliseconds kLongestRestore{2000};

QString statusWords(GitHubSessionStatus status)
{
    switch (status) {
    case GitHubSessionStatus::Connected:
        return QStringLiteral("Connected");
    case GitHubSessionStatus::Refreshing:
        return QStringLiteral("Refreshing");
    case GitHubSessionStatus::ReconnectRequired:
        return QStringLiteral("Reconnect required");
    case GitHubSessionStatus::Disconnected:
    case GitHubSessionStatus::RequestingCode:
    case GitHubSessionStatus::AwaitingAuthorization:
        break;
    }
    return QStringLiteral("Disconnected");
}

void printAccounts(const CommandContext &context, const QList<GitHubAccountSession> &sessions)
{
    if (sessions.isEmpty()) {
        context.out->writeLine(QStringLiteral("No GitHub account is connected. Run “velmora connect” to connect one."));
        return;
    }
    QList<QStringList> rows;
    for (const auto &session : sessions)
        rows.append({session.account.login, statusWords(session.status)});
    const QStringList lines = renderColumns({QStringLiteral("ACCOUNT"), QStringLiteral("STATUS")}, rows);
    for (const QString &line : lines)
        context.out->writeRawLine(line);
}

QString knownLogins(const QList<GitHubAccountSession> &sessions)
{
    if (sessions.isEmpty())
        return QStringLiteral("No account is connected.");
    QStringList logins;
    for (const auto &session : sessions)
        logins.append(session.account.login);
    return QStringLiteral("Connected: %1.").arg(logins.join(QStringLiteral(", ")));
}

} // namespace

QCoro::Task<ExitCode> runAccounts(CommandContext context, CommandLine line)
{
    AuthenticationStore *store = context.authentication;
    const std::function<bool()> isRestored = [store] {
        return store->isRestored();
    };
    co_await waitFor(store, &AuthenticationStore::restored, isRestored, context.stop, kLongestRestore);
    if (context.stop.stop_requested())
        co_return ExitCode::Failed;
    if (line.isJSON)
        context.out->write(accountsJSON(store->sessions()) + '\n');
    else
        printAccounts(context, store->sessions());
    co_return ExitCode::Done;
}

QCoro::Task<ExitCode> runRemoveAccount(CommandContext context, CommandLine line)
{
    AuthenticationStore *store = context.authentication;
    const QList<GitHubAccountSession> sessions = store->sessions();
    const auto found = std::ranges::find_if(sessions, [&](const GitHubAccountSession &session) {
        return session.account.login.compare(line.login, Qt::CaseInsensitive) == 0;
    });
    if (found == sessions.end()) {
        context.err->writeLine(
            QStringLiteral("There is no account named %1. %2").arg(line.login, knownLogins(sessions)));
        co_return ExitCode::Failed;
    }
    const GitHubAccount account = found->account;
    co_await store->removeAndWait(account.id);
    co_await context.monitor->forgetRemoved(store, context.installations, context.clock->now());
    context.out->writeLine(QStringLiteral("Removed %1.").arg(account.login));
    co_return ExitCode::Done;
}

} // namespace velmora
