// SPDX-License-Identifier: MIT
#include "notifications/notification_error.h"

namespace velmora
{

NotificationError::NotificationError(Kind kind, QString errorName)
    : m_kind(kind)
    , m_errorName(std::move(errorName))
{
}

QString NotificationError::description() const
{
    switch (m_kind) {
    case Kind::NoServer:
        return QStringLiteral("No notification service is running on this desktop, and none can be started.");
    case Kind::TimedOut:
        return QStringLiteral("The notification service did not answer in time.");
    case Kind::ServerChanged:
        return QStringLiteral("The notification service was restarted.");
    case Kind::Failed:
        break;
    }
    return QStringLiteral("The notification service reported an error (%1).").arg(m_errorName);
}

} // namespace velmora
