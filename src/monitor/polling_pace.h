// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/identity_pace.h"

#include <QHash>
#include <QSet>

namespace velmora
{

/// Says which repositories a refresh asks for: see IdentityPace. Each identity has points of its own.
class PollingPace
{
public:
    /// The repositories of `monitored` to ask for now, which counts as asking for them. `shown` is the list on show.
    [[nodiscard]] QList<RepositoryRecord> due(
        const QList<RepositoryRecord> &monitored, const DeploymentList &shown, RefreshScope scope, Instant now);

    /// GitHub answered for these repositories, at this cost. In the order in which due() had them.
    void record(qint64 identityID, const QList<RepositoryRecord> &asked, const DeploymentRateLimit &limit,
        RefreshScope scope, Instant now)
    {
        m_identities[identityID].record(asked, limit, scope, now);
    }

    /// The points that the identity needs at least to ask again.
    [[nodiscard]] qint64 nextCost(qint64 identityID) const { return m_identities.value(identityID).nextCost(); }
    /// Whether the identity was stretched when due() was last asked about it.
    [[nodiscard]] bool isStretched(qint64 identityID) const;
    /// The time in which everything is asked for once, where that is noticeably longer than kDeploymentsInterval; the
    /// longest of all identities.
    [[nodiscard]] std::optional<std::chrono::seconds> interval() const;

    /// Forgets all other identities.
    void retain(const QSet<qint64> &listed);

private:
    QHash<qint64, IdentityPace> m_identities;
};

} // namespace velmora
