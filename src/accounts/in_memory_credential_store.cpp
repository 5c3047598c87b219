// SPDX-License-Identifier: MIT
#include "accounts/in_memory_credential_store.h"

namespace velmora
{

QCoro::Task<> InMemoryCredentialStore::prepareToSave()
{
    co_return;
}

QCoro::Task<> InMemoryCredentialStore::unlock(QList<qint64>)
{
    co_return;
}

QCoro::Task<> InMemoryCredentialStore::save(
    GitHubCredential credential, qint64 accountID, [[maybe_unused]] Interaction interaction)
{
    m_credentials.insert(accountID, std::move(credential));
    co_return;
}

QCoro::Task<std::optional<GitHubCredential>> InMemoryCredentialStore::load(qint64 accountID)
{
    std::optional<GitHubCredential> credential;
    if (const auto found = m_credentials.constFind(accountID); found != m_credentials.constEnd())
        credential = *found;
    co_return credential;
}

QCoro::Task<> InMemoryCredentialStore::remove(qint64 accountID, [[maybe_unused]] Interaction interaction)
{
    m_credentials.remove(accountID);
    co_return;
}

} // namespace velmora
