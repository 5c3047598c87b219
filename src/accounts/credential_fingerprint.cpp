// SPDX-License-Identifier: MIT
#include "accounts/credential_fingerprint.h"

#include <QCryptographicHash>

namespace velmora
{

QByteArray fingerprint(const GitHubCredential &credential)
{
    constexpr qsizetype kBytes = 8;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(credential.accessToken.toUtf8());
    hash.addData(QByteArrayView("\0", 1));
    hash.addData(credential.refreshToken.value_or(QString()).toUtf8());
    return hash.result().left(kBytes).toHex();
}

} // namespace velmora
