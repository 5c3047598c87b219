// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"

#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "support/error.h"

namespace velmora
{

void AuthenticationStore::startConnecting()
{
    if (m_connectionTask)
        return;
    m_connectionTask.emplace();
    m_scope.launch(connectAccount(m_connectionTask->get_token()), "Connecting an account");
}

void AuthenticationStore::cancelConnection()
{
    if (auto task = std::exchange(m_connectionTask, std::nullopt))
        task->request_stop();
    setConnection({GitHubSessionStatus::Disconnected, std::nullopt, std::nullopt});
}

QCoro::Task<> AuthenticationStore::connectAccount(std::stop_token stop)
{
    const QPointer<AuthenticationStore> self(this);
    setConnection({GitHubSessionStatus::RequestingCode, std::nullopt, std::nullopt});
    std::exception_ptr failure;
    GitHubAccount account;
    try {
        throwIfStopped(stop);
        account = co_await authorize(stop);
    } catch (...) {
        failure = std::current_exception();
    }
    // Who stopped this connection has said what holds now; another one may run already.
    if (!self || stop.stop_requested())
        co_return;
    m_connectionTask.reset();
    if (failure)
        failConnection(failure);
    else
        finishConnection(account);
}

QCoro::Task<GitHubAccount> AuthenticationStore::authorize(std::stop_token stop)
{
    const QPointer<AuthenticationStore> self(this);
    const GitHubClient client = m_client;
    const auto credentialStore = m_credentialStore;
    const auto authorization = co_await client.beginDeviceAuthorization(stop);
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    showAuthorization(authorization, stop);
    const auto credential = co_await client.waitForDeviceAuthorization(authorization, stop);
    const auto user = co_await client.fetchUser(credential.accessToken, stop);
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    // A refresh of the same account that is under way would otherwise replace the new credential.
    const auto turn = co_await takeTurn(user.id, stop);
    co_await credentialStore->save(credential, user.id, Interaction::Allowed);
    if (!self)
        throw CancellationError();
    if (stop.stop_requested() && !isListed(user.id)) {
        // The person took it back while the keyring was being unlocked.
        co_await credentialStore->remove(user.id, Interaction::Forbidden);
    }
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    const GitHubAccount account{user.id, user.login, user.avatarURL};
    upsert({account, GitHubSessionStatus::Connected});
    co_return GitHubAccount(account);
}

void AuthenticationStore::showAuthorization(const DeviceAuthorization &authorization, const std::stop_token &stop)
{
    m_isCodeCopied = m_services.pasteboard && m_services.pasteboard->setText(authorization.userCode);
    const auto urlOpener = m_services.urlOpener;
    setConnection({GitHubSessionStatus::AwaitingAuthorization, authorization, std::nullopt});
    // Whoever was told may have cancelled.
    if (urlOpener && !stop.stop_requested())
        urlOpener->open(authorization.verificationURI);
}

void AuthenticationStore::finishConnection(const GitHubAccount &account)
{
    m_lastConnectedAccount = account;
    const auto urlOpener = m_services.urlOpener;
    const WebAddress installationURL = m_services.installationURL;
    setConnection({GitHubSessionStatus::Connected, std::nullopt, std::nullopt});
    if (urlOpener)
        urlOpener->open(installationURL);
}

void AuthenticationStore::failConnection(const std::exception_ptr &failure)
{
    if (isCancellation(failure))
        setConnection({GitHubSessionStatus::Disconnected, std::nullopt, std::nullopt});
    else
        setConnection({GitHubSessionStatus::ReconnectRequired, std::nullopt, describe(failure)});
}

void AuthenticationStore::setConnection(const Connection &connection)
{
    if (!connection.pendingAuthorization)
        m_isCodeCopied = false;
    if (m_connectionState == connection.state && m_pendingAuthorization == connection.pendingAuthorization
        && m_errorMessage == connection.errorMessage)
        return;
    m_connectionState = connection.state;
    m_pendingAuthorization = connection.pendingAuthorization;
    m_errorMessage = connection.errorMessage;
    Q_EMIT connectionChanged();
}

} // namespace velmora
