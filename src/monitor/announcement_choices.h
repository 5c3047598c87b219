// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/environment_choices.h"

#include <QStringList>

namespace velmora
{

/// Which results the user wants announced. Reads the choices from the preferences with each question, so that a new
/// choice counts for what already waits.
class AnnouncementChoices
{
public:
    /// The preferences are not owned and outlive this object.
    explicit AnnouncementChoices(const Preferences *defaults)
        : m_defaults(defaults)
        , m_environmentRules(defaults)
    {
    }

    /// The logins of the connected identities. What they have created are the user's own deployments.
    void setLogins(const QStringList &logins) { m_logins = logins; }

    /// Whether the result is to be announced. False for a state that is none.
    [[nodiscard]] bool isAnnounced(const DeploymentSnapshot &result) const;

private:
    [[nodiscard]] bool isMine(const DeploymentSnapshot &result) const;

    const Preferences *m_defaults;
    StoredEnvironmentRules m_environmentRules;
    QStringList m_logins;
};

} // namespace velmora
