// SPDX-License-Identifier: MIT
#include "accounts/credential_renewal.h"

#include "github/github_client_error.h"
#include "support/cancel_on_stop.h"
#include "support/error.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// A credential with less time left is renewed before use.
constexpr std::chrono::seconds kLeastRemainingTime(300);

constexpr int kUnauthorized = 401;

bool lastsLongEnough(const GitHubCredential &credential, Instant now)
{
    return !credential.expiresAt || *credential.expiresAt - now >= kLeastRemainingTime;
}

} // namespace

CredentialRenewal::CredentialRenewal(Services services, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
{
}

bool CredentialRenewal::Renewal::isSuperseded() const
{
    return owner && owner->m_eras.value(accountID) != era;
}

void CredentialRenewal::Renewal::updateStatus(GitHubSessionStatus status) const
{
    if (owner && !isSuperseded())
        Q_EMIT owner->statusChanged(accountID, status);
}

void CredentialRenewal::Renewal::conclude(const GitHubCredential &fresh, const std::exception_ptr &failure) const
{
    if (!owner || isSuperseded())
        return;
    if (failure && isFinalRefusal(failure)) {
        owner->endSession(accountID, credential);
        return;
    }
    if (!failure && wasRefused)
        owner->m_unprovenTokens.insert(accountID, fresh.accessToken);
    updateStatus(failure ? GitHubSessionStatus::ReconnectRequired : GitHubSessionStatus::Connected);
}

void CredentialRenewal::supersede(qint64 accountID)
{
    m_unsavedCredentials.remove(accountID);
    m_refusedTokens.remove(accountID);
    m_unprovenTokens.remove(accountID);
    ++m_eras[accountID];
}

void CredentialRenewal::endSession(qint64 accountID, const GitHubCredential &credential)
{
    m_services.ended->add(accountID, credential);
    Q_EMIT sessionEnded(accountID);
}

void CredentialRenewal::recordAccepted(qint64 accountID, const QString &accessToken)
{
    if (m_unprovenTokens.value(accountID) == accessToken)
        m_unprovenTokens.remove(accountID);
}

bool CredentialRenewal::isFitForUse(qint64 accountID, const GitHubCredential &credential) const
{
    return m_refusedTokens.value(accountID) != credential.accessToken
        && lastsLongEnough(credential, m_services.clock->now());
}

QCoro::Task<GitHubCredential> CredentialRenewal::validCredential(qint64 accountID, std::stop_token stop)
{
    const QPointer<CredentialRenewal> self(this);
    throwIfStopped(stop);
    if (!m_unsavedCredentials.contains(accountID)) {
        const auto stored = co_await storedCredential(accountID);
        throwIfStopped(stop);
        if (!self)
            throw CancellationError();
        if (!m_unsavedCredentials.contains(accountID) && isFitForUse(accountID, stored)) {
            Q_EMIT credentialFound(accountID);
            co_return GitHubCredential(stored);
        }
    }
    const auto renewed = co_await renewedCredential(accountID, std::nullopt, stop);
    co_return GitHubCredential(renewed);
}

QCoro::Task<GitHubCredential> CredentialRenewal::credentialAfterRefusal(
    qint64 accountID, QString refusedToken, std::stop_token stop)
{
    throwIfStopped(stop);
    const auto renewed = co_await renewedCredential(accountID, refusedToken, stop);
    co_return GitHubCredential(renewed);
}

QCoro::Task<GitHubCredential> CredentialRenewal::storedCredential(qint64 accountID)
{
    const QPointer<CredentialRenewal> self(this);
    const auto credentialStore = m_services.credentialStore;
    const auto stored = co_await credentialStore->load(accountID);
    if (!self)
        throw CancellationError();
    if (!stored) {
        Q_EMIT sessionEnded(accountID);
        throw GitHubClientError::missingAccessToken();
    }
    if (m_services.ended->contains(accountID, *stored)) {
        Q_EMIT sessionEnded(accountID);
        throw GitHubClientError::missingRefreshToken();
    }
    co_return GitHubCredential(*stored);
}

QCoro::Task<GitHubCredential> CredentialRenewal::renewedCredential(
    qint64 accountID, std::optional<QString> refusedToken, std::stop_token stop)
{
    const QPointer<CredentialRenewal> self(this);
    auto turn = co_await m_services.turns->take(accountID, CredentialUse::Renewing, stop);
    if (!self)
        throw CancellationError();
    auto renewal = co_await preparedRenewal(accountID);
    renewal.turn = std::make_shared<CredentialTurn>(std::move(turn));
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    if (refusedToken)
        applyRefusal(renewal, *refusedToken);
    if (!self)
        throw CancellationError();
    if (!renewal.replaced && isFitForUse(accountID, renewal.credential)) {
        // Another caller or process renewed it while this caller waited.
        renewal.turn->release();
        Q_EMIT credentialFound(accountID);
        co_return GitHubCredential(renewal.credential);
    }
    if (m_isClosed)
        throw CancellationError();
    refuseInterrupted(renewal);
    if (!self)
        throw CancellationError();
    renewal.wasRefused = m_refusedTokens.value(accountID) == renewal.credential.accessToken;
    ++m_renewalsUnderWay;
    const OneShot<GitHubCredential> renewed;
    const CancelOnStop<GitHubCredential> onStop(renewed, stop);
    launch(renew(std::move(renewal), renewed), "Renewing a credential");
    auto credential = co_await renewed;
    co_return credential;
}

/// Throws if the refused token came from a renewal after an earlier refusal: another renewal would not help.
void CredentialRenewal::applyRefusal(Renewal &renewal, const QString &refusedToken)
{
    const GitHubCredential current = renewal.credential;
    if (current.accessToken != refusedToken)
        return;
    if (m_unprovenTokens.value(renewal.accountID) == refusedToken) {
        endSession(renewal.accountID, current);
        throw GitHubClientError::requestFailed(kUnauthorized);
    }
    m_refusedTokens.insert(renewal.accountID, refusedToken);
}

/// Throws if a program was killed while it replaced this credential: its refresh token may be used up and must not be
/// sent again.
void CredentialRenewal::refuseInterrupted(const Renewal &renewal)
{
    if (renewal.replaced || !renewal.turn->wasBeingReplaced(renewal.credential))
        return;
    endSession(renewal.accountID, renewal.credential);
    throw GitHubClientError::missingAccessToken();
}

QCoro::Task<CredentialRenewal::Renewal> CredentialRenewal::preparedRenewal(qint64 accountID)
{
    const QPointer<CredentialRenewal> self(this);
    Renewal renewal;
    renewal.owner = this;
    renewal.client = m_services.client;
    renewal.credentialStore = m_services.credentialStore;
    renewal.accountID = accountID;
    renewal.era = m_eras.value(accountID);
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
        // Another process has stored a newer credential.
        m_unsavedCredentials.remove(accountID);
        renewal.credential = *stored;
        co_return renewal;
    }
    renewal.replaced = unsaved->replaced;
    renewal.credential = unsaved->fresh;
    co_return renewal;
}

QCoro::Task<> CredentialRenewal::renew(Renewal renewal, OneShot<GitHubCredential> renewed)
{
    std::exception_ptr failure;
    GitHubCredential credential;
    try {
        credential = co_await performRenewal(renewal);
    } catch (...) {
        failure = std::current_exception();
    }
    renewal.conclude(credential, failure);
    renewal.turn->release();
    if (failure)
        renewed.fail(failure);
    else
        renewed.resolve(credential);
    const auto owner = renewal.owner;
    if (owner && --owner->m_renewalsUnderWay == 0)
        Q_EMIT owner->renewalsFinished();
}

QCoro::Task<GitHubCredential> CredentialRenewal::performRenewal(Renewal renewal)
{
    if (renewal.replaced)
        co_await saveRenewed(renewal);
    const GitHubCredential current = renewal.credential;
    if (!renewal.wasRefused && lastsLongEnough(current, renewal.client.clock->now()))
        co_return GitHubCredential(current);
    renewal.updateStatus(GitHubSessionStatus::Refreshing);
    const auto fresh = co_await refreshed(renewal);
    co_return GitHubCredential(fresh);
}

QCoro::Task<GitHubCredential> CredentialRenewal::refreshed(Renewal renewal)
{
    const GitHubClient client = renewal.client;
    const GitHubCredential current = renewal.credential;
    std::exception_ptr failure;
    renewal.turn->beginReplacing(current);
    try {
        // Without the caller's stop: from here on the refresh token may be used up, and losing the response would end
        // the session.
        const auto fresh = co_await client.refresh(current);
        renewal.credential = fresh;
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure)
        renewal.turn->endReplacing();
    if (failure && isFinalRefusal(failure)) {
        // A process that shares the keyring but not the lock may have used the refresh token first.
        std::optional<GitHubCredential> stored;
        try {
            stored = co_await renewal.credentialStore->load(renewal.accountID);
        } catch (const Error &) {
            // Report the refusal instead.
        }
        if (stored && *stored != current && lastsLongEnough(*stored, client.clock->now()))
            co_return GitHubCredential(*stored);
    }
    if (failure)
        std::rethrow_exception(failure);
    renewal.replaced = current;
    co_await saveRenewed(renewal);
    co_return GitHubCredential(renewal.credential);
}

QCoro::Task<> CredentialRenewal::saveRenewed(Renewal renewal)
{
    const UnsavedCredential unsaved{*renewal.replaced, renewal.credential};
    if (renewal.isSuperseded())
        throw GitHubClientError::missingAccessToken();
    if (renewal.owner)
        renewal.owner->m_unsavedCredentials.insert(renewal.accountID, unsaved);
    co_await renewal.credentialStore->save(renewal.credential, renewal.accountID, Interaction::Forbidden);
    renewal.turn->endReplacing();
    if (renewal.owner && !renewal.isSuperseded())
        renewal.owner->m_unsavedCredentials.remove(renewal.accountID);
}

} // namespace velmora
