// SPDX-License-Identifier: MIT
#include "notifications/deployment_notification_kind.h"

namespace velmora
{

QString preferenceOf(DeploymentNotificationKind kind)
{
    switch (kind) {
    case DeploymentNotificationKind::Failure:
        return QStringLiteral("general.notificationsEnabled");
    case DeploymentNotificationKind::Success:
        return QStringLiteral("general.successNotificationsEnabled");
    case DeploymentNotificationKind::Waiting:
        return QStringLiteral("general.waitingNotificationsEnabled");
    }
    Q_UNREACHABLE();
}

} // namespace velmora
