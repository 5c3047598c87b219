// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"

#include <QHash>
#include <QList>
#include <QSet>

namespace velmora
{

/// Of which repositories GitHub has told in this run. What it tells of one for the first time is that repository's
/// history; only what happens after it is news.
class LiveRepositories
{
public:
    /// GitHub has told of these. Returns those that are new.
    QList<RepositoryRecord> add(const QList<RepositoryRecord> &fetched);

    /// Forgets the repositories that are no longer monitored: whatever happens to them until they are monitored again
    /// is history by then. `unloaded` are the identities whose repositories are not known at the moment, so that
    /// theirs are not missing for good.
    void retain(const QList<RepositoryRecord> &monitored, const QSet<qint64> &unloaded);

private:
    QHash<QString, qint64> m_identities; ///< by the id of the repository, through which it was fetched
};

} // namespace velmora
