// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"

#include <QCoroTask>

#include <optional>

namespace velmora
{

/// Whether the credential store may ask the person to unlock it.
enum class Interaction {
    Forbidden, ///< work in the background: a locked store is an error at once
    Allowed, ///< the person asked for it and may take any time to answer
};

/// Keeps one credential for each account. Operations are awaited and throw CredentialStoreError; they may
/// overlap. They are not cancelled: one that waits for the person ends when the person answers or
/// the store's provider ends.
class CredentialStoring
{
public:
    virtual ~CredentialStoring() = default;

    /// Stores or replaces the credential of the account.
    [[nodiscard]] virtual QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction)
        = 0;
    /// The credential of the account; nothing when none is stored. Never asks the person. Throws
    /// DecodingError as well, when what is stored is not a credential.
    [[nodiscard]] virtual QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) = 0;
    /// Removes the credential of the account; no error when there is none. `remove`, for `delete` is taken.
    [[nodiscard]] virtual QCoro::Task<> remove(qint64 accountID, Interaction interaction) = 0;
};

} // namespace velmora
