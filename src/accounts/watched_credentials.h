// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"

#include <QObject>
#include <QSet>

#include <exception>
#include <functional>
#include <memory>

namespace velmora
{

/// A credential store that tells whether it was found locked, and whether it may be asking the user.
class WatchedCredentials final : public QObject, public CredentialStoring
{
    Q_OBJECT

public:
    explicit WatchedCredentials(std::shared_ptr<CredentialStoring> credentials);

    /// Whether the last operation for any account failed because the store is locked, or because the user declined to
    /// unlock it.
    [[nodiscard]] bool isLocked() const { return !m_lockedAccounts.isEmpty(); }
    /// Whether an operation is running that may ask the user for a password.
    [[nodiscard]] bool isAsking() const { return m_questions > 0; }
    /// Forgets the account.
    void forget(qint64 accountID) { record(accountID, false); }

    [[nodiscard]] QCoro::Task<> prepareToSave() override { return asking(m_credentials->prepareToSave()); }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override
    {
        return asking(m_credentials->unlock(accountIDs));
    }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override;
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override;
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        return askingIf(interaction, m_credentials->remove(accountID, interaction));
    }

Q_SIGNALS:
    /// isLocked() changed.
    void lockedChanged();
    /// isAsking() changed.
    void askingChanged();

private:
    /// Is told how an operation ended: null for a success.
    using Conclusion = std::function<void(const std::exception_ptr &)>;

    QCoro::Task<> observed(QCoro::Task<> operation, Conclusion conclude);
    QCoro::Task<> asking(QCoro::Task<> operation);
    QCoro::Task<> askingIf(Interaction interaction, QCoro::Task<> operation);
    void countQuestions(int more);
    void record(qint64 accountID, bool isLocked);

    std::shared_ptr<CredentialStoring> m_credentials;
    QSet<qint64> m_lockedAccounts;
    int m_questions = 0; ///< running operations that may ask
};

} // namespace velmora
