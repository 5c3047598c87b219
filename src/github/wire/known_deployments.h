// SPDX-License-Identifier: MIT
#pragma once

#include "github/wire/deployments_query.h"

#include <QByteArray>
#include <QHash>
#include <QSet>

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
    struct Repository {
        QByteArray body; ///< the last answer that held it and in which anything had changed; shared with the others
        QByteArrayView json; ///< of the body
        DeploymentList deployments;
    };
    /// A node of an answer.
    struct Node {
        QByteArrayView json;
        std::optional<DeploymentList> known; ///< nothing if it is to be decoded
    };
    /// The parts of an answer that may change.
    struct Cut {
        QList<Node> nodes;
        QByteArrayView rateLimit;
    };

    [[nodiscard]] std::optional<Cut> cut(QByteArrayView body, const QStringList &ids) const;
    [[nodiscard]] static QByteArray changedAnswer(const QByteArray &body, const Cut &parts);
    [[nodiscard]] Node nodeAt(QByteArrayView json, const QString &id) const;

    QHash<QString, Repository> m_repositories; ///< by the identifier in the request
};

} // namespace velmora
