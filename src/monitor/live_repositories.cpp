// SPDX-License-Identifier: MIT
#include "monitor/live_repositories.h"

namespace velmora
{

QList<RepositoryRecord> LiveRepositories::add(const QList<RepositoryRecord> &fetched)
{
    QList<RepositoryRecord> added;
    for (const RepositoryRecord &record : fetched) {
        if (!m_identities.contains(record.id()))
            added.append(record);
        m_identities.insert(record.id(), record.identityID);
    }
    return added;
}

void LiveRepositories::retain(const QList<RepositoryRecord> &monitored, const QSet<qint64> &unloaded)
{
    QSet<QString> kept;
    for (const RepositoryRecord &record : monitored)
        kept.insert(record.id());
    m_identities.removeIf(
        [&](const auto &entry) { return !kept.contains(entry.key()) && !unloaded.contains(entry.value()); });
}

} // namespace velmora
