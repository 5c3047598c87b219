// SPDX-License-Identifier: MIT
#include "accounts/credential_busy_error.h"

namespace velmora
{

QString CredentialBusyError::description() const
{
    if (!m_use)
        return QStringLiteral("Another Velmora program keeps the token of this account locked. If it is stopped, "
                              "let it go on, or end it.");
    switch (*m_use) {
    case CredentialUse::Renewing:
        return QStringLiteral("The token of this account is still being renewed.");
    case CredentialUse::Connecting:
        return QStringLiteral("This account is being connected again. If the keyring asks a question, answer it.");
    case CredentialUse::Removing:
        return QStringLiteral("This account is being removed. If the keyring asks a question, answer it.");
    }
    Q_UNREACHABLE();
}

} // namespace velmora
