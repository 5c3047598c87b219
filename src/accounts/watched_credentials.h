// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"

#include <QObject>
#include <QSet>

#include <memory>

namespace velmora
{

/// A credential store that remembers whether it was found locked.
class WatchedCredentials final : public QObject, public CredentialStoring
{
    Q_OBJECT

public:
    explicit WatchedCredentials(std::shared_ptr<CredentialStoring> credentials);

    /// Whether the last operation for any account failed because the store is locked, or because the user declined to
    /// unlock it.
    [[nodiscard]] bool isLocked() const { return !m_lockedAccounts.isEmpty(); }
    /// Forgets the account.
    void forget(qint64 accountID) { record(accountID, false); }

    [[nodiscard]] QCoro::Task<> prepareToSave() override { return m_credentials->prepareToSave(); }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override { return m_credentials->unlock(accountIDs); }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override;
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override;
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        return m_credentials->remove(accountID, interaction);
    }

Q_SIGNALS:
    /// isLocked() changed.
    void lockedChanged();

private:
    void record(qint64 accountID, bool isLocked);

    std::shared_ptr<CredentialStoring> m_credentials;
    QSet<qint64> m_lockedAccounts;
};

} // namespace velmora
