// SPDX-License-Identifier: MIT
#include "notifications/notification_bursts.h"

namespace velmora
{

std::optional<DeploymentGroup> NotificationBursts::add(
    const DeploymentSnapshot &result, DeploymentNotificationKind kind, Instant now)
{
    auto &[latest, group] = m_bursts.at(static_cast<std::size_t>(kind));
    latest.removeIf([now](const Arrival &arrival) { return arrival.time > now || now - arrival.time > kSpan; });
    const bool isAlone = latest.size() < kAlone;
    if (isAlone) {
        group.reset();
    } else {
        if (!group) {
            group.emplace(kind);
            for (const Arrival &arrival : std::as_const(latest))
                group->add(arrival.result);
        }
        group->add(result);
        latest.removeFirst();
    }
    latest.append({result, now});
    return group;
}

} // namespace velmora
