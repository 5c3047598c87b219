// SPDX-License-Identifier: MIT
#include "accounts/renewing_credentials.h"

#include "accounts/credential_renewal.h"
#include "support/error.h"
#include "support/with_deadline.h"

namespace velmora
{

RenewingCredentials::RenewingCredentials(CredentialRenewal *renewal)
    : m_renewal(renewal)
{
}

QCoro::Task<GitHubCredential> RenewingCredentials::validCredential(qint64 accountID, std::stop_token stop)
{
    if (!m_renewal)
        throw CancellationError();
    return unlessStopped(m_renewal->validCredential(accountID, stop), stop);
}

QCoro::Task<GitHubCredential> RenewingCredentials::credentialAfterRefusal(
    qint64 accountID, QString refusedToken, std::stop_token stop)
{
    if (!m_renewal)
        throw CancellationError();
    return unlessStopped(m_renewal->credentialAfterRefusal(accountID, refusedToken, stop), stop);
}

void RenewingCredentials::recordAccepted(qint64 accountID, const QString &accessToken)
{
    if (m_renewal)
        m_renewal->recordAccepted(accountID, accessToken);
}

} // namespace velmora
