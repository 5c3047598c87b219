// SPDX-License-Identifier: MIT
#pragma once

#include "github/wire/deployments_query.h"

#include <QByteArray>
#include <QHash>
#include <QSet>

#include <memory>
#include <optional>

namespace velmora
{

/// The deployments of repositories with the bytes that they were decoded from, so that a repository whose bytes come
/// again is not decoded again.
///
/// The bytes themselves are kept, some 11 KB for a repository with 20 deployments: they cannot collide, whoever writes
/// the deployments, and comparing them is faster than any hash of which that can be said. What a repository's bytes
/// mean depends on nothing else, so an entry is never wrong; it is forgotten to free its memory.
class KnownDeployments
{
public:
    /// What decodedBatch() returns, and throws, for this answer. Decodes only the repositories that are not known with
    /// the same bytes.
    [[nodiscard]] DeploymentBatch decoded(const QByteArray &body, const QStringList &repositoryNodeIDs,
        RateLimitUse use = RateLimitUse::Always, std::optional<Instant> resumeAt = std::nullopt);

    /// Forgets all other repositories.
    void retain(const QSet<QString> &repositoryNodeIDs);

private:
    /// An answer in which anything was new. Its repositories share it.
    struct Answer {
        QByteArray body;
        /// Where the nodes lie in the body; absent until another answer is compared with this one, since finding them
        /// takes an eighth of the time of a first refresh.
        std::optional<QList<QByteArrayView>> nodes;
    };
    struct Repository {
        std::shared_ptr<Answer> answer; ///< the last one that held it
        qsizetype place; ///< its node in the answer
        DeploymentList deployments;

        /// Its node; empty if the answer has no nodes that can be found.
        [[nodiscard]] QByteArrayView json() const;
    };

    [[nodiscard]] DeploymentBatch decodedWhole(
        const QByteArray &body, const QStringList &ids, RateLimitUse use, std::optional<Instant> resumeAt);
    [[nodiscard]] const Repository *knownAt(QByteArrayView json, const QString &id) const;
    void keep(const QStringList &ids, const QList<DeploymentList> &deployments, Answer answer);

    QHash<QString, Repository> m_repositories; ///< by the identifier in the request
};

} // namespace velmora
