// SPDX-License-Identifier: MIT
#include "accounts/watched_credentials.h"

#include "accounts/credential_store_error.h"

#include <QPointer>

#include <utility>

namespace velmora
{

namespace
{

/// Whether the user can mend the failure by unlocking the store. Null is no failure.
bool isLock(const std::exception_ptr &failure)
{
    if (!failure)
        return false;
    try {
        std::rethrow_exception(failure);
    } catch (const CredentialStoreError &error) {
        return error == CredentialStoreError::keychain(CredentialStoreError::Locked)
            || error == CredentialStoreError::keychain(CredentialStoreError::Dismissed);
    } catch (...) {
        return false;
    }
}

} // namespace

WatchedCredentials::WatchedCredentials(std::shared_ptr<CredentialStoring> credentials)
    : m_credentials(std::move(credentials))
{
}

QCoro::Task<> WatchedCredentials::save(GitHubCredential credential, qint64 accountID, Interaction interaction)
{
    const auto conclude = [this, accountID](const std::exception_ptr &failure) {
        record(accountID, isLock(failure));
    };
    return askingIf(interaction, observed(m_credentials->save(credential, accountID, interaction), conclude));
}

QCoro::Task<std::optional<GitHubCredential>> WatchedCredentials::load(qint64 accountID)
{
    const QPointer<WatchedCredentials> self(this);
    const auto credentials = m_credentials;
    std::optional<GitHubCredential> credential;
    std::exception_ptr failure;
    try {
        credential = co_await credentials->load(accountID);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self)
        record(accountID, isLock(failure));
    if (failure)
        std::rethrow_exception(failure);
    co_return credential;
}

/// Calls `conclude` only while this object lives.
QCoro::Task<> WatchedCredentials::observed(QCoro::Task<> operation, Conclusion conclude)
{
    const QPointer<WatchedCredentials> self(this);
    const auto credentials = m_credentials; // which the operation may still use
    std::exception_ptr failure;
    try {
        co_await operation;
    } catch (...) {
        failure = std::current_exception();
    }
    if (self)
        conclude(failure);
    if (failure)
        std::rethrow_exception(failure);
}

QCoro::Task<> WatchedCredentials::asking(QCoro::Task<> operation)
{
    countQuestions(1);
    return observed(std::move(operation), [this](const std::exception_ptr &) { countQuestions(-1); });
}

QCoro::Task<> WatchedCredentials::askingIf(Interaction interaction, QCoro::Task<> operation)
{
    return interaction == Interaction::Allowed ? asking(std::move(operation)) : std::move(operation);
}

void WatchedCredentials::countQuestions(int more)
{
    const bool wasAsking = isAsking();
    m_questions += more;
    if (isAsking() != wasAsking)
        Q_EMIT askingChanged();
}

void WatchedCredentials::record(qint64 accountID, bool isLocked)
{
    const bool wasLocked = this->isLocked();
    if (isLocked)
        m_lockedAccounts.insert(accountID);
    else
        m_lockedAccounts.remove(accountID);
    if (this->isLocked() != wasLocked)
        Q_EMIT lockedChanged();
}

} // namespace velmora
