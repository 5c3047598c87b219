// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"
#include "support/async_mutex.h"

#include <QCoroTask>

#include <stop_token>

namespace velmora
{

/// Provides the tokens for requests of an account.
class CredentialSource
{
public:
    virtual ~CredentialSource() = default;

    /// A credential that is valid as far as known. Throws if there is none.
    [[nodiscard]] virtual QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop) = 0;

    /// Call it when GitHub has answered 401 to this access token although it had not expired. Returns another
    /// credential for a new attempt. Throws if there is none.
    [[nodiscard]] virtual QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token stop)
        = 0;

    /// GitHub accepted this access token.
    virtual void recordAccepted(qint64 accountID, const QString &accessToken) = 0;

    /// The mutex to hold during a request of the account, so that the whole program sends one at a time. Always the
    /// same mutex for an account.
    [[nodiscard]] virtual AsyncMutex requestTurn(qint64 accountID) = 0;
};

} // namespace velmora
