// SPDX-License-Identifier: MIT
#include "monitor/announcement_choices.h"

#include "notifications/deployment_notification_kind.h"

namespace velmora
{

Announcement AnnouncementChoices::announcementOf(const DeploymentSnapshot &result) const
{
    if (!isWanted(result))
        return Announcement::None;
    if (!isMine(result) && m_defaults->boolean(QString::fromLatin1(kOnlyMinePreference)))
        return Announcement::None;
    if (m_muted.isMuted(result.repositoryNodeID))
        return Announcement::Silent;
    return m_pause.term() ? Announcement::Paused : Announcement::Posted;
}

bool AnnouncementChoices::isSummedUp(const DeploymentSnapshot &failure) const
{
    return isWanted(failure) && !m_muted.isMuted(failure.repositoryNodeID);
}

bool AnnouncementChoices::isWanted(const DeploymentSnapshot &result) const
{
    const auto kind = announcedKind(result.state);
    if (!kind || !m_defaults->boolean(preferenceOf(*kind)))
        return false;
    return m_environmentRules.current().choice(result) == EnvironmentChoice::Notify;
}

bool AnnouncementChoices::isMine(const DeploymentSnapshot &result) const
{
    return result.creatorLogin && m_logins.contains(*result.creatorLogin, Qt::CaseInsensitive);
}

} // namespace velmora
