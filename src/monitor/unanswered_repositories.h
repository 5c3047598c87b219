// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "model/deployment_fetch_result.h"

#include <QHash>
#include <QStringList>

namespace velmora
{

/// The repositories of which GitHub told nothing when they were last asked for, and why.
class UnansweredRepositories
{
public:
    /// These were asked for, and these among them were not answered.
    void note(const QList<RepositoryRecord> &asked, const QList<UnansweredRepository> &unanswered);

    /// Forgets what is no longer monitored.
    void retain(const QList<RepositoryRecord> &monitored);

    [[nodiscard]] bool contains(const RepositoryRecord &record) const { return m_reasons.contains(record.id()); }

    /// Of the repositories that the identity reaches: each reason once, behind the names of those that it is about.
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
