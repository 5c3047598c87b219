// SPDX-License-Identifier: MIT
#include "monitor/polling_pace.h"

#include "monitor/polling_schedule.h"

#include <QMap>

#include <algorithm>

namespace velmora
{

QList<RepositoryRecord> PollingPace::due(
    const QList<RepositoryRecord> &monitored, const DeploymentList &shown, RefreshScope scope, Instant now)
{
    QMap<qint64, IdentityPace::Repositories> own;
    for (auto first = monitored.begin(); first != monitored.end();) {
        const auto isOthers = [&](const RepositoryRecord &record) {
            return record.identityID != first->identityID;
        };
        const auto last = std::find_if(first, monitored.end(), isOthers);
        auto &records = own[first->identityID];
        records.reserve(records.size() + static_cast<std::size_t>(last - first));
        for (; first != last; ++first)
            records.push_back(&*first);
    }
    QList<RepositoryRecord> result;
    for (auto identity = own.cbegin(); identity != own.cend(); ++identity) {
        const auto due = m_identities[identity.key()].due(identity.value(), shown, scope, now);
        for (const RepositoryRecord *record : due)
            result.append(*record);
    }
    return result;
}

bool PollingPace::isStretched(qint64 identityID) const
{
    const auto identity = m_identities.constFind(identityID);
    return identity != m_identities.constEnd() && identity->interval();
}

std::optional<std::chrono::seconds> PollingPace::interval() const
{
    constexpr auto kNoticeable = kDeploymentsInterval * 11 / 10;
    std::optional<std::chrono::seconds> longest;
    for (const IdentityPace &identity : m_identities)
        longest = std::max(longest, identity.interval());
    return longest > kNoticeable ? longest : std::nullopt;
}

void PollingPace::retain(const QSet<qint64> &listed)
{
    m_identities.removeIf([&](const auto &entry) { return !listed.contains(entry.key()); });
}

} // namespace velmora
