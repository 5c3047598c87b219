// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_store_error.h"
#include "accounts/in_memory_credential_store.h"

#include <memory>

namespace velmora::testing
{

/// A credential store that can be locked like a keyring.
class LockableCredentialStore final : public CredentialStoring
{
public:
    explicit LockableCredentialStore(std::shared_ptr<InMemoryCredentialStore> content)
        : m_content(std::move(content))
    {
    }

    [[nodiscard]] QCoro::Task<> prepareToSave() override
    {
        throwIfLocked();
        co_return;
    }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64>) override
    {
        if (unlocksWhenAsked)
            isLocked = false;
        throwIfLocked();
        co_return;
    }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override
    {
        throwIfLocked();
        co_await m_content->save(credential, accountID, interaction);
    }
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override
    {
        throwIfLocked();
        auto loaded = co_await m_content->load(accountID);
        co_return loaded;
    }
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        throwIfLocked();
        co_await m_content->remove(accountID, interaction);
    }

    bool isLocked = true;
    bool unlocksWhenAsked = false; ///< otherwise the user declines

private:
    void throwIfLocked() const
    {
        if (isLocked)
            throw CredentialStoreError::keychain(CredentialStoreError::Locked);
    }

    std::shared_ptr<InMemoryCredentialStore> m_content;
};

} // namespace velmora::testing
