// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"

#include <QCoroTask>
#include <QList>

#include <optional>

namespace velmora
{

/// Whether the credential store may ask the user to unlock it.
enum class Interaction {
    Forbidden, ///< background work: a locked store is an error at once
    Allowed, ///< on request of the user, who may take any time to answer
};

/// Keeps one credential for each account. Operations throw CredentialStoreError. They may overlap, but the user is
/// asked one question at a time. They cannot be cancelled: an operation that waits for the user ends with the user's
/// answer or the end of the provider, any other ends within some seconds.
class CredentialStoring
{
public:
    virtual ~CredentialStoring() = default;

    /// Ensures that a new credential can be stored. If needed, asks the user to unlock or create the place for it. For
    /// a request of the user that ends with save().
    [[nodiscard]] virtual QCoro::Task<> prepareToSave() = 0;
    /// Ensures that the credentials of the accounts can be loaded. If needed, asks the user to unlock them, all in one
    /// question. For a request of the user that leads to load().
    [[nodiscard]] virtual QCoro::Task<> unlock(QList<qint64> accountIDs) = 0;
    /// Stores or replaces the credential of the account.
    [[nodiscard]] virtual QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction)
        = 0;
    /// The credential of the account, nullopt if none is stored. Never asks the user. Also throws DecodingError if the
    /// stored item is not a credential.
    [[nodiscard]] virtual QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) = 0;
    /// Removes the credential of the account. It is no error if there is none.
    [[nodiscard]] virtual QCoro::Task<> remove(qint64 accountID, Interaction interaction) = 0;
};

} // namespace velmora
