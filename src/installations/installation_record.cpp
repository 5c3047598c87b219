// SPDX-License-Identifier: MIT
#include "installations/installation_record.h"

namespace velmora
{

QString installationKey(qint64 identityID, qint64 installationID)
{
    return QString::number(identityID) + QLatin1Char(':') + QString::number(installationID);
}

bool isKeyOf(qint64 identityID, const QString &key)
{
    return key.startsWith(QString::number(identityID) + QLatin1Char(':'));
}

QString suspendedText(const QList<InstallationRecord> &installations)
{
    QStringList logins;
    for (const InstallationRecord &record : installations) {
        const QString login = record.installation.account.login;
        if (record.installation.isSuspended() && !logins.contains(login))
            logins.append(login);
    }
    if (logins.isEmpty())
        return QString();
    return QStringLiteral("Velmora is suspended on %1. Its owner can unsuspend it on GitHub.")
        .arg(logins.join(QStringLiteral(", ")));
}

} // namespace velmora
