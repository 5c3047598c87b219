// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"
#include "accounts/installation_page.h"
#include "cli/commands.h"
#include "platform/preferences.h"
#include "support/error.h"
#include "support/signal_waiting.h"

#include <QSet>

namespace velmora
{

namespace
{

bool isUnderWay(GitHubSessionStatus status)
{
    return status == GitHubSessionStatus::RequestingCode || status == GitHubSessionStatus::AwaitingAuthorization;
}

void printCode(const CommandContext &context, const DeviceAuthorization &authorization)
{
    context.out->writeLine(QStringLiteral("Enter this code on GitHub: %1").arg(authorization.userCode));
    context.out->writeLine(QStringLiteral("The page: %1").arg(authorization.verificationURI.text()));
    if (context.stores.authentication->isCodeCopied())
        context.out->writeLine(QStringLiteral("The code has been copied."));
    context.out->writeLine(QStringLiteral("After authorization, GitHub will ask which account or organisation "
                                          "Velmora can access."));
    if (context.err->isLive())
        context.err->writeLine(QStringLiteral("Waiting for GitHub… (Ctrl-C cancels)"));
}

ExitCode reportEnd(const CommandContext &context)
{
    const AuthenticationStore *store = context.stores.authentication;
    const auto account = store->lastConnectedAccount();
    if (store->connectionState() == GitHubSessionStatus::Connected && account) {
        context.out->writeLine(QStringLiteral("Connected as %1").arg(account->login));
        context.out->writeLine(QStringLiteral("Choose where Velmora is installed: %1")
                                   .arg(context.stores.installationPage->address().text()));
        return ExitCode::Done;
    }
    context.err->writeLine(store->errorMessage().value_or(QStringLiteral("The connection was cancelled.")));
    if (!context.missingConfiguration.isEmpty())
        context.err->writeLine(context.missingConfiguration);
    return ExitCode::Failed;
}

QSet<qint64> listedAccounts(const AuthenticationStore &store)
{
    QSet<qint64> accountIDs;
    for (const GitHubAccountSession &session : store.sessions())
        accountIDs.insert(session.id());
    return accountIDs;
}

/// Removes an account whose connection could not be saved; otherwise its token would stay in the keyring forever.
QCoro::Task<> removeUnlisted(CommandContext context, QSet<qint64> listedBefore)
{
    const auto account = context.stores.authentication->lastConnectedAccount();
    if (!account || listedBefore.contains(account->id))
        co_return;
    try {
        co_await context.stores.authentication->remove(account->id);
    } catch (const Error &error) {
        context.err->writeLine(error.description());
    }
}

} // namespace

QCoro::Task<ExitCode> runConnect(CommandContext context)
{
    AuthenticationStore *store = context.stores.authentication;
    const QSet<qint64> listedBefore = listedAccounts(*store);
    store->startConnecting();
    const std::function<bool()> hasCode = [store] {
        return store->pendingAuthorization() || !isUnderWay(store->connectionState());
    };
    co_await untilTrue(store, &AuthenticationStore::connectionChanged, hasCode, context.stop);
    if (const auto &authorization = store->pendingAuthorization())
        printCode(context, *authorization);
    const std::function<bool()> hasEnded = [store] {
        return !isUnderWay(store->connectionState());
    };
    co_await untilTrue(store, &AuthenticationStore::connectionChanged, hasEnded, context.stop);
    if (context.stop.stop_requested())
        store->cancelConnection();
    if (store->connectionState() == GitHubSessionStatus::Connected) {
        const QString unsaved = co_await whyNotSaved(context.stores.preferences, context.stop);
        if (!unsaved.isEmpty()) {
            context.err->writeLine(QStringLiteral("The account is not saved. ") + unsaved);
            co_await removeUnlisted(context, listedBefore);
            co_return ExitCode::Failed;
        }
    }
    co_return reportEnd(context);
}

} // namespace velmora
