// SPDX-License-Identifier: MIT
#include "monitor/announcement_choices.h"

#include "notifications/deployment_notification_kind.h"

namespace velmora
{

Announcement AnnouncementChoices::announcementOf(const DeploymentSnapshot &result) const
{
    if (!isWanted(result))
        return Announcement::None;
    return m_muted.isMuted(result.repositoryNodeID) ? Announcement::Silent : Announcement::Posted;
}

bool AnnouncementChoices::isWanted(const DeploymentSnapshot &result) const
{
    const auto kind = announcedKind(result.state);
    if (!kind || !m_defaults->boolean(preferenceOf(*kind)))
        return false;
    if (m_environmentRules.current().choice(result) != EnvironmentChoice::Notify)
        return false;
    return isMine(result) || !m_defaults->boolean(QString::fromLatin1(kOnlyMinePreference));
}

bool AnnouncementChoices::isMine(const DeploymentSnapshot &result) const
{
    return result.creatorLogin && m_logins.contains(*result.creatorLogin, Qt::CaseInsensitive);
}

} // namespace velmora
