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
    Forbidden, ///< work in the background: a locked store is an error at once
    Allowed, ///< the user asked for it and may take any time to answer
};

/// Keeps one credential for each account. Operations are awaited and throw CredentialStoreError; they may
/// overlap, and still the user is asked one thing at a time. They are not cancelled: one that waits for the
/// user ends when the user answers or the store's provider ends, any other ends within some seconds.
class CredentialStoring
{
public:
    virtual ~CredentialStoring() = default;

    /// Does nothing when a new credential can be stored; else asks the user to unlock, or to make, what it would be
    /// stored in. For a request of the user that ends with save().
    [[nodiscard]] virtual QCoro::Task<> prepareToSave() = 0;
    /// Does nothing when the credentials of the accounts can be loaded; else asks the user to unlock what they are in,
    /// all in one question. For a request of the user that leads to load().
    [[nodiscard]] virtual QCoro::Task<> unlock(QList<qint64> accountIDs) = 0;
    /// Stores or replaces the credential of the account.
    [[nodiscard]] virtual QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction)
        = 0;
    /// The credential of the account; nothing when none is stored. Never asks the user. Throws
    /// DecodingError as well, when what is stored is not a credential.
    [[nodiscard]] virtual QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) = 0;
    /// Removes the credential of the account; no error when there is none. `remove`, for `delete` is taken.
    [[nodiscard]] virtual QCoro::Task<> remove(qint64 accountID, Interaction interaction) = 0;
};

} // namespace velmora
