// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"

#include <QDate>
#include <QHash>
#include <QSet>
#include <QString>

namespace velmora
{

/// The environments to which deployments were seen in the last 30 days, by repository. It changes at most once a day
/// for what is seen again.
class SeenEnvironments
{
public:
    /// What was seen of a repository.
    struct Repository {
        QString name; ///< its latest owner and name
        QHash<QString, QDate> environments; ///< the last day on which each was seen

        friend bool operator==(const Repository &, const Repository &) = default;
    };

    /// By the node id of the repository.
    [[nodiscard]] const QHash<QString, Repository> &repositories() const { return m_repositories; }

    /// Takes note of the deployments, on this day. Returns whether that is news.
    bool see(const DeploymentList &deployments, QDate day);
    /// Forgets what was last seen 30 days before this one. Of more than 20,000 environments of repositories it forgets
    /// whole days, the earliest first, but not this one. Returns whether there was anything to forget.
    bool forgetOld(QDate today);

    /// Forgets all repositories but those with one of these ids or names. Returns whether there was any.
    bool retain(const QSet<QString> &ids, const QSet<QString> &names);

    /// The record as a file holds it.
    [[nodiscard]] QByteArray encoded() const;
    /// Throws DecodingError.
    [[nodiscard]] static SeenEnvironments decoded(QByteArrayView json);

    friend bool operator==(const SeenEnvironments &, const SeenEnvironments &) = default;

private:
    QHash<QString, Repository> m_repositories;
};

} // namespace velmora
