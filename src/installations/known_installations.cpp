// SPDX-License-Identifier: MIT
#include "installations/known_installations.h"

#include "support/alphabetical_order.h"

#include <QSet>

namespace velmora
{

void KnownInstallations::add(qint64 identityID, const Knowledge &found)
{
    Knowledge &known = m_known[identityID];
    if (found.load >= known.load)
        known = found;
    else if (found.load == 0 && !known.visible)
        known.failure = found.failure;
}

void KnownInstallations::retain(const QList<GitHubAccountSession> &sessions)
{
    m_known.removeIf([&sessions](const auto &entry) {
        return std::ranges::find(sessions, entry.key(), &GitHubAccountSession::id) == sessions.end();
    });
}

bool KnownInstallations::isWhole(qint64 identityID) const
{
    const auto visible = of(identityID).visible;
    return visible && std::ranges::none_of(visible->installations, &GitHubInstallation::isSuspended);
}

QList<InstallationRecord> KnownInstallations::installations(const QList<GitHubAccountSession> &sessions) const
{
    QList<InstallationRecord> records;
    for (const GitHubAccountSession &session : sessions) {
        const auto visible = of(session.id()).visible.value_or(VisibleRepositories());
        for (const GitHubInstallation &installation : visible.installations)
            records.append({session.id(), installation});
    }
    sortAlphabetically(records, [](const InstallationRecord &record) { return record.installation.account.login; });
    return records;
}

QList<RepositoryRecord> KnownInstallations::repositories(const QList<GitHubAccountSession> &sessions) const
{
    QList<RepositoryRecord> records;
    QSet<QString> seen;
    for (const GitHubAccountSession &session : sessions) {
        const auto visible = of(session.id()).visible.value_or(VisibleRepositories());
        for (const RepositoryRecord &record : visible.repositories) {
            if (seen.contains(record.id()))
                continue;
            seen.insert(record.id());
            records.append(record);
        }
    }
    sortAlphabetically(records, [](const RepositoryRecord &record) { return record.repository.nameWithOwner; });
    return records;
}

} // namespace velmora
