// SPDX-License-Identifier: MIT
#include "installations/installation_record.h"

namespace velmora
{

QString installationKey(qint64 identityID, qint64 installationID)
{
    return QString::number(identityID) + QLatin1Char(':') + QString::number(installationID);
}

} // namespace velmora
