// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"

#include "accounts/process_lock.h"
#include "github/github_client_error.h"
#include "support/cancel_on_stop.h"
#include "support/error.h"

namespace velmora
{

namespace
{

/// A credential with less than this left is renewed before use.
constexpr std::chrono::seconds kLeastRemainingTime(300);

bool lastsLongEnough(const GitHubCredential &credential, Instant now)
{
    return !credential.expiresAt || *credential.expiresAt - now >= kLeastRemainingTime;
}

} // namespace

void AuthenticationStore::Turn::release()
{
    // The file first: whoever comes next in this process asks for it at once.
    processLock.reset();
    lock.release();
}

void AuthenticationStore::Renewal::updateStatus(GitHubSessionStatus status) const
{
    if (owner)
        owner->updateStatus(status, accountID);
}

QCoro::Task<GitHubCredential> AuthenticationStore::validCredential(qint64 accountID, std::stop_token stop)
{
    const QPointer<AuthenticationStore> self(this);
    throwIfStopped(stop);
    if (!m_unsavedCredentials.contains(accountID)) {
        const auto stored = co_await storedCredential(accountID);
        throwIfStopped(stop);
        if (!self)
            throw CancellationError();
        if (!m_unsavedCredentials.contains(accountID) && isFitForUse(stored))
            co_return GitHubCredential(stored);
    }
    const auto renewed = co_await renewedCredential(accountID, stop);
    co_return GitHubCredential(renewed);
}

bool AuthenticationStore::isFitForUse(const GitHubCredential &credential) const
{
    return lastsLongEnough(credential, m_services.clock->now());
}

QCoro::Task<GitHubCredential> AuthenticationStore::storedCredential(qint64 accountID)
{
    const QPointer<AuthenticationStore> self(this);
    const auto credentialStore = m_credentialStore;
    const auto stored = co_await credentialStore->load(accountID);
    if (!self)
        throw CancellationError();
    if (!stored) {
        updateStatus(GitHubSessionStatus::ReconnectRequired, accountID);
        throw GitHubClientError::missingAccessToken();
    }
    // A store that could not be read at the start can be now.
    if (m_unreadAccounts.contains(accountID))
        updateStatus(GitHubSessionStatus::Connected, accountID);
    co_return GitHubCredential(*stored);
}

QCoro::Task<AuthenticationStore::Turn> AuthenticationStore::takeTurn(qint64 accountID, std::stop_token stop)
{
    const QString folder = m_services.lockFolder;
    Clock *const clock = m_services.clock;
    const AsyncMutex mutex = m_turns[accountID];
    Turn turn;
    turn.lock = co_await mutex.lock(stop);
    if (!folder.isEmpty()) {
        const QString path = folder + QStringLiteral("/refresh-%1.lock").arg(accountID);
        turn.processLock = co_await acquireProcessLock(path, clock, stop);
    }
    co_return turn;
}

QCoro::Task<GitHubCredential> AuthenticationStore::renewedCredential(qint64 accountID, std::stop_token stop)
{
    const QPointer<AuthenticationStore> self(this);
    auto turn = co_await takeTurn(accountID, stop);
    if (!self)
        throw CancellationError();
    auto renewal = co_await preparedRenewal(accountID);
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    if (!renewal.replaced && isFitForUse(renewal.credential)) {
        // Somebody else has renewed it while this caller waited.
        turn.release();
        co_return GitHubCredential(renewal.credential);
    }
    const OneShot<GitHubCredential> renewed;
    const CancelOnStop<GitHubCredential> onStop(renewed, stop);
    launch(renew(std::move(renewal), std::move(turn), renewed), "Renewing a credential");
    auto credential = co_await renewed;
    co_return credential;
}

QCoro::Task<AuthenticationStore::Renewal> AuthenticationStore::preparedRenewal(qint64 accountID)
{
    const QPointer<AuthenticationStore> self(this);
    Renewal renewal;
    renewal.owner = this;
    renewal.client = m_client;
    renewal.credentialStore = m_credentialStore;
    renewal.accountID = accountID;
    renewal.wasListed = isListed(accountID);
    if (!m_unsavedCredentials.contains(accountID)) {
        renewal.credential = co_await storedCredential(accountID);
        co_return renewal;
    }
    const auto stored = co_await renewal.credentialStore->load(accountID);
    if (!self)
        throw CancellationError();
    const auto unsaved = m_unsavedCredentials.constFind(accountID);
    if (unsaved == m_unsavedCredentials.constEnd())
        throw GitHubClientError::missingAccessToken(); // removed in the meantime
    if (stored && *stored != unsaved->replaced) {
        // Another process has stored one that is newer.
        m_unsavedCredentials.remove(accountID);
        renewal.credential = *stored;
        co_return renewal;
    }
    renewal.replaced = unsaved->replaced;
    renewal.credential = unsaved->fresh;
    co_return renewal;
}

QCoro::Task<> AuthenticationStore::renew(Renewal renewal, Turn turn, OneShot<GitHubCredential> renewed)
{
    std::exception_ptr failure;
    GitHubCredential credential;
    try {
        credential = co_await performRenewal(renewal);
    } catch (...) {
        failure = std::current_exception();
    }
    renewal.updateStatus(failure ? GitHubSessionStatus::ReconnectRequired : GitHubSessionStatus::Connected);
    turn.release();
    if (failure)
        renewed.fail(failure);
    else
        renewed.resolve(credential);
}

QCoro::Task<GitHubCredential> AuthenticationStore::performRenewal(Renewal renewal)
{
    const GitHubClient client = renewal.client;
    if (renewal.replaced)
        co_await saveRenewed(renewal);
    const GitHubCredential current = renewal.credential;
    if (lastsLongEnough(current, client.clock->now()))
        co_return GitHubCredential(current);
    renewal.updateStatus(GitHubSessionStatus::Refreshing);
    // No caller's stop comes along: from here on the refresh token may be used up, and an answer that is
    // not stored would end the session.
    const auto fresh = co_await client.refresh(current);
    renewal.replaced = current;
    renewal.credential = fresh;
    co_await saveRenewed(renewal);
    co_return GitHubCredential(fresh);
}

QCoro::Task<> AuthenticationStore::saveRenewed(Renewal renewal)
{
    const UnsavedCredential unsaved{*renewal.replaced, renewal.credential};
    if (renewal.owner && renewal.wasListed && !renewal.owner->isListed(renewal.accountID))
        throw GitHubClientError::missingAccessToken(); // removed in the meantime
    if (renewal.owner)
        renewal.owner->m_unsavedCredentials.insert(renewal.accountID, unsaved);
    co_await renewal.credentialStore->save(renewal.credential, renewal.accountID, Interaction::Forbidden);
    if (renewal.owner)
        renewal.owner->m_unsavedCredentials.remove(renewal.accountID);
}

} // namespace velmora
