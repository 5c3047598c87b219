// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notification.h"

#include <QStringList>

namespace velmora
{

/// Results of one kind that one notification announces together. Keeps what the notification says, not the results.
class DeploymentGroup
{
public:
    explicit DeploymentGroup(DeploymentNotificationKind kind)
        : m_kind(kind)
    {
    }

    void add(const DeploymentSnapshot &result);

    /// The number of results that were added.
    [[nodiscard]] qsizetype count() const { return m_count; }
    /// Tells the number of all results and the first three repositories, each once. The identifier is that of the first
    /// result with a prefix, so that a group which grows replaces its notification. There is no page, since a click
    /// opens the window.
    [[nodiscard]] DeploymentNotification notification() const;

private:
    DeploymentNotificationKind m_kind;
    qsizetype m_count = 0;
    QStringList m_names; ///< of the first repositories
    QString m_firstKey; ///< the identifier of the first result
};

} // namespace velmora
