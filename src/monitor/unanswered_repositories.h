// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "model/deployment_fetch_result.h"

#include <QHash>
#include <QStringList>

namespace velmora
{

/// The repositories for which GitHub gave a reason instead of an answer when they were last asked for.
class UnansweredRepositories
{
public:
    /// Records that `asked` were asked for, and that `unanswered` among them were not answered.
    void record(const QList<RepositoryRecord> &asked, const QList<UnansweredRepository> &unanswered);

    /// Forgets the repositories that are no longer monitored.
    void retain(const QList<RepositoryRecord> &monitored);

    /// A line for each reason among the repositories of the identity: names of repositories, then the reason.
    [[nodiscard]] QStringList lines(qint64 identityID) const;

private:
    struct Reason {
        qint64 identityID = 0;
        QString name; ///< of the repository
        QString text;
    };
    QHash<QString, Reason> m_reasons; ///< by the id of the repository
};

} // namespace velmora
