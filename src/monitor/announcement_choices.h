// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "monitor/environment_choices.h"
#include "monitor/muted_repositories.h"
#include "monitor/notification_pause.h"

#include <QStringList>

namespace velmora
{

/// What the user has chosen to become of a result.
enum class Announcement {
    None, ///< it is not announced; what the user does not want to be told of at all needs no note either
    Silent, ///< it is noted and never announced, even if the user chooses otherwise later
    Paused, ///< like Silent; a failure is summed up at the end of the pause
    Posted,
};

/// The one owner of the question what becomes of a result. It reads the choices with each question, so that a new
/// choice counts for what already waits.
class AnnouncementChoices
{
public:
    /// The pointers are not owned and outlive this object.
    AnnouncementChoices(Preferences *defaults, const Clock *clock)
        : m_defaults(defaults)
        , m_environmentRules(defaults)
        , m_muted(defaults, clock)
        , m_pause(defaults, clock)
    {
    }

    /// The logins of the connected identities. What they have created are the user's own deployments.
    void setLogins(const QStringList &logins) { m_logins = logins; }

    /// None for a state that is no result.
    [[nodiscard]] Announcement announcementOf(const DeploymentSnapshot &result) const;

    /// Whether a failure that was noted during a pause is still to be announced at its end. Whose deployment it is was
    /// asked when it was noted.
    [[nodiscard]] bool isSummedUp(const DeploymentSnapshot &failure) const;

    [[nodiscard]] MutedRepositories &muted() { return m_muted; }
    [[nodiscard]] NotificationPause &pause() { return m_pause; }

    /// Forgets the choices whose time is over. To be called now and then.
    void forgetOver()
    {
        m_muted.forgetOver();
        m_pause.forgetOver();
    }

private:
    [[nodiscard]] bool isWanted(const DeploymentSnapshot &result) const;
    [[nodiscard]] bool isMine(const DeploymentSnapshot &result) const;

    const Preferences *m_defaults;
    StoredEnvironmentRules m_environmentRules;
    QStringList m_logins;
    MutedRepositories m_muted;
    NotificationPause m_pause;
};

} // namespace velmora
