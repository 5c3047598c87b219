// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_source.h"

#include <QHash>
#include <QPointer>

namespace velmora
{

class CredentialRenewal;

/// The credentials of a CredentialRenewal, which may be destroyed first; later calls then throw CancellationError. A
/// stop ends every wait at once.
class RenewingCredentials final : public CredentialSource
{
public:
    explicit RenewingCredentials(CredentialRenewal *renewal);

    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token stop) override;
    void recordAccepted(qint64 accountID, const QString &accessToken) override;
    [[nodiscard]] AsyncMutex requestTurn(qint64 accountID) override { return m_requestTurns[accountID]; }

private:
    QPointer<CredentialRenewal> m_renewal;
    QHash<qint64, AsyncMutex> m_requestTurns;
};

} // namespace velmora
