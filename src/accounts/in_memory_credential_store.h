// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"

#include <QHash>

namespace velmora
{

/// Keeps credentials until the program ends: for the demo and the tests.
class InMemoryCredentialStore final : public CredentialStoring
{
public:
    [[nodiscard]] QCoro::Task<> prepareToSave() override;
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override;
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override;
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override;
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override;

private:
    QHash<qint64, GitHubCredential> m_credentials;
};

} // namespace velmora
