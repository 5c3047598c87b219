// SPDX-License-Identifier: MIT
#include "accounts/account_connection.h"

#include "accounts/installation_page.h"
#include "github/github_client_error.h"
#include "github/instant_arithmetic.h"
#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "support/error.h"

#include <QLoggingCategory>
#include <QPointer>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

/// The code is used up already, so passing failures are retried until `end`, when the code would have expired.
QCoro::Task<GitHubUser> fetchUserPatiently(GitHubClient client, QString accessToken, Instant end, std::stop_token stop)
{
    constexpr std::chrono::seconds kPause(5);
    while (true) {
        std::exception_ptr failure;
        try {
            const auto user = co_await client.fetchUser(accessToken, stop);
            co_return GitHubUser(user);
        } catch (...) {
            failure = std::current_exception();
        }
        if (!isPassing(failure) || client.clock->now() >= end)
            std::rethrow_exception(failure);
        co_await client.clock->sleep(kPause, stop);
    }
}

} // namespace

AccountConnection::AccountConnection(Services services, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
{
}

AccountConnection::~AccountConnection()
{
    if (m_running)
        m_running->request_stop();
}

void AccountConnection::start()
{
    if (m_running)
        return;
    m_running.emplace();
    m_scope.launch(connectAccount(m_running->get_token()), "Connecting an account");
}

void AccountConnection::cancel()
{
    if (auto running = std::exchange(m_running, std::nullopt))
        running->request_stop();
    setProgress({GitHubSessionStatus::Disconnected, std::nullopt, std::nullopt});
}

QCoro::Task<> AccountConnection::connectAccount(std::stop_token stop)
{
    const QPointer<AccountConnection> self(this);
    setProgress({GitHubSessionStatus::RequestingCode, std::nullopt, std::nullopt});
    std::exception_ptr failure;
    GitHubAccount account;
    try {
        throwIfStopped(stop);
        account = co_await authorize(stop);
    } catch (...) {
        failure = std::current_exception();
    }
    // cancel() has set the progress already, and another connection may be running.
    if (!self || stop.stop_requested())
        co_return;
    m_running.reset();
    if (failure)
        fail(failure);
    else
        finish(account);
}

QCoro::Task<GitHubAccount> AccountConnection::authorize(std::stop_token stop)
{
    const QPointer<AccountConnection> self(this);
    const GitHubClient client = m_services.client;
    const auto credentialStore = m_services.credentialStore;
    const auto authorization = co_await client.beginDeviceAuthorization(stop);
    const Instant end = addingSeconds(client.clock->now(), authorization.expiresIn);
    throwIfStopped(stop);
    // Check this first: the user should not authorise in the browser if the credential cannot be stored.
    co_await credentialStore->prepareToSave();
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    showAuthorization(authorization, stop);
    const auto credential = co_await client.waitForDeviceAuthorization(authorization, stop);
    const auto user = co_await fetchUserPatiently(client, credential.accessToken, end, stop);
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    // A running refresh of the same account would otherwise replace the new credential.
    CredentialTurn turn;
    try {
        turn = co_await m_services.turns->take(user.id, CredentialUse::Connecting, stop);
    } catch (const CancellationError &) {
        throw;
    } catch (const Error &error) {
        // Store it without the turn: losing the user's authorisation is worse than the race that the turn prevents.
        qCInfo(accountsLog).noquote() << "A credential is stored out of turn:" << error.description();
    }
    if (!self)
        throw CancellationError();
    co_await credentialStore->save(credential, user.id, Interaction::Allowed);
    if (!self)
        throw CancellationError();
    if (stop.stop_requested() && !m_services.isListed(user.id)) {
        // The user cancelled while the keyring was being unlocked.
        co_await credentialStore->remove(user.id, Interaction::Forbidden);
    }
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    const GitHubAccount account{user.id, user.login, user.avatarURL};
    Q_EMIT accountConnected(account);
    co_return GitHubAccount(account);
}

void AccountConnection::showAuthorization(const DeviceAuthorization &authorization, const std::stop_token &stop)
{
    m_isCodeCopied = m_services.pasteboard && m_services.pasteboard->setText(authorization.userCode);
    const auto urlOpener = m_services.urlOpener;
    setProgress({GitHubSessionStatus::AwaitingAuthorization, authorization, std::nullopt});
    // A slot of changed() may have cancelled.
    if (urlOpener && !stop.stop_requested())
        urlOpener->open(authorization.verificationURI);
}

void AccountConnection::finish(const GitHubAccount &account)
{
    m_lastConnectedAccount = account;
    const auto installationPage = m_services.installationPage;
    setProgress({GitHubSessionStatus::Connected, std::nullopt, std::nullopt});
    if (installationPage)
        installationPage->open();
}

void AccountConnection::fail(const std::exception_ptr &failure)
{
    if (isCancellation(failure))
        setProgress({GitHubSessionStatus::Disconnected, std::nullopt, std::nullopt});
    else
        setProgress({GitHubSessionStatus::ReconnectRequired, std::nullopt, describe(failure)});
}

void AccountConnection::setProgress(const Progress &progress)
{
    if (!progress.pendingAuthorization)
        m_isCodeCopied = false;
    if (m_progress == progress)
        return;
    m_progress = progress;
    Q_EMIT changed();
}

} // namespace velmora
