// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"

#include <QHash>
#include <QList>
#include <QSet>

namespace velmora
{

/// The repositories that GitHub has answered for in this run. The first answer for a repository is its history; only
/// what happens after it is news.
class LiveRepositories
{
public:
    /// Adds repositories that were answered. Returns those that are new.
    QList<RepositoryRecord> add(const QList<RepositoryRecord> &fetched);

    /// Forgets the repositories that are no longer monitored: what happens to them until they are monitored again is
    /// history by then. Repositories of `unloaded` identities stay, since which ones are monitored is not known.
    void retain(const QList<RepositoryRecord> &monitored, const QSet<qint64> &unloaded);

private:
    QHash<QString, qint64>
        m_identities; ///< the identity through which a repository was fetched, by the id of the repository
};

} // namespace velmora
