// SPDX-License-Identifier: MIT
#include "accounts/credential_store_error.h"

namespace velmora
{

CredentialStoreError CredentialStoreError::keychain(qint32 status, QString detail)
{
    return CredentialStoreError(Case::Keychain, status, std::move(detail));
}

QString CredentialStoreError::description() const
{
    if (m_case == Case::InvalidData)
        return QStringLiteral("The keyring holds an item of Velmora without any data. Connect the account again.");
    switch (m_status) {
    case Locked:
        return QStringLiteral("The keyring is locked. Unlock it, or connect the account again.");
    case Dismissed:
        return QStringLiteral("The keyring was not unlocked. Try again and unlock it when you are asked.");
    case NoProvider:
        return QStringLiteral(
            "There is no keyring to keep credentials in. Install and start gnome-keyring, KWallet, or "
            "KeePassXC with its Secret Service integration turned on.");
    case ProviderEnded:
        return QStringLiteral("The keyring ended before it answered. Try again.");
    case NotAnswering:
        return QStringLiteral("The keyring does not answer. Restart it, or log in again.");
    default:
        break;
    }
    const QString detail = m_detail.isEmpty() ? QStringLiteral("status %1").arg(m_status) : m_detail;
    return QStringLiteral("The keyring failed: %1").arg(detail);
}

} // namespace velmora
