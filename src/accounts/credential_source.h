// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"
#include "support/async_mutex.h"

#include <QCoroTask>

#include <stop_token>

namespace velmora
{

/// Where requests in the name of an account get their tokens from.
class CredentialSource
{
public:
    virtual ~CredentialSource() = default;

    /// A credential that is fit for use as far as is known. Throws where there is none.
    [[nodiscard]] virtual QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop) = 0;

    /// GitHub answered 401 to this access token, though it was not due for renewal: another credential to
    /// try again with. Throws where there is none.
    [[nodiscard]] virtual QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token stop)
        = 0;

    /// GitHub accepted this access token.
    virtual void noteAccepted(qint64 accountID, const QString &accessToken) = 0;

    /// Held while a request in the name of the account is under way: there is one at a time, whichever part of the
    /// program sends it. Always the same one for an account.
    [[nodiscard]] virtual AsyncMutex requestTurn(qint64 accountID) = 0;
};

} // namespace velmora
