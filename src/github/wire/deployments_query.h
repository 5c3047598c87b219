// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_fetch_result.h"

#include <QByteArrayView>
#include <QList>
#include <QStringList>
#include <QUtf8StringView>

#include <array>
#include <optional>

namespace velmora
{

/// The text of the one GraphQL query that Velmora sends.
[[nodiscard]] const QString &deploymentsQueryText();

struct GitHubGraphQLRequest {
    struct Variables {
        QList<QString> ids;
    };
    QString query;
    Variables variables;
};

// The nodes of a deployment hold views of the response, since a batch has thousands of texts and a snapshot keeps only
// a few. These records must not outlive the JSONDocument they were decoded from.

struct ActorNode {
    QUtf8StringView login;
};

struct StatusNode {
    QUtf8StringView state;
    std::optional<QUtf8StringView> description;
    std::optional<QUtf8StringView> environment;
    std::optional<QUtf8StringView> environmentUrl; ///< may be empty, which counts as absent
    std::optional<QUtf8StringView> logUrl; ///< may be empty, which counts as absent
    QUtf8StringView updatedAt;
};

struct DeploymentNode {
    QUtf8StringView id;
    std::optional<QUtf8StringView> environment;
    std::optional<QUtf8StringView> latestEnvironment;
    QUtf8StringView commitOid;
    QUtf8StringView createdAt;
    QUtf8StringView updatedAt;
    std::optional<QUtf8StringView> state;
    std::optional<ActorNode> creator;
    std::optional<StatusNode> latestStatus;
};

struct DeploymentConnection {
    QList<std::optional<DeploymentNode>> nodes;
};

struct RepositoryNode {
    QString id;
    QString nameWithOwner;
    WebAddress url;
    DeploymentConnection deployments;
};

struct RateLimitNode {
    qint64 cost = 0;
    qint64 remaining = 0;
    QString resetAt;
};

struct GraphQLError {
    QString message;
    std::optional<QString> type; ///< GitHub's word for the kind of error, such as "RATE_LIMITED"
    std::optional<qsizetype> node; ///< the index of the affected node in the request
    bool isSingleSignOn = false; ///< the organisation requires single sign-on
};

/// Must not outlive the JSONDocument it was decoded from.
struct GitHubDeploymentGraphQLResponse {
    struct Payload {
        /// An entry is absent if it is null or not a repository.
        QList<std::optional<RepositoryNode>> nodes;
        std::optional<RateLimitNode> rateLimit; ///< absent for a null
    };
    std::optional<Payload> data;
    std::optional<QList<GraphQLError>> errors;
};

/// The data of the response. Errors beside data are ignored. Without data throws DeploymentClientError: graphQL with
/// all messages, or invalidResponse if there is no error either. A graphQL error of a rate limit carries a
/// RateLimitNotice with `resumeAt`, the time from the headers of the response.
[[nodiscard]] GitHubDeploymentGraphQLResponse::Payload payload(
    GitHubDeploymentGraphQLResponse response, std::optional<Instant> resumeAt = std::nullopt);

/// The requested repositories that are null in the data because of an error. `nodeIDs` are the identifiers of the
/// request, in its order.
[[nodiscard]] QList<UnansweredRepository> unansweredRepositories(
    const GitHubDeploymentGraphQLResponse &response, const QStringList &nodeIDs);

/// Keeps a text that the deployments of a response repeat in memory only once, as long as no other text has taken its
/// place. Must not outlive the JSONDocument.
class SharedTexts
{
public:
    [[nodiscard]] QString text(QUtf8StringView utf8);

private:
    struct Recent {
        QByteArrayView utf8;
        QString text;
    };
    std::array<Recent, 256> m_recent; ///< by a hash of the text
};

/// The record of one deployment, nullopt if its createdAt or updatedAt is invalid.
[[nodiscard]] std::optional<DeploymentSnapshot> snapshot(
    const DeploymentNode &deployment, const RepositoryNode &repository, SharedTexts &texts);

/// Whether responses must hold a rate limit.
enum class RateLimitUse {
    Always, ///< they must, as on github.com
    Configurable, ///< they need not: an Enterprise Server has no limits unless its owner enables them
};

/// The answer to one batch.
struct DeploymentBatch {
    /// In the order of the answer; empty for one that is absent.
    QList<DeploymentList> repositories;
    DeploymentRateLimit rateLimit; ///< DeploymentRateLimit::none() if there is none
    QList<UnansweredRepository> unanswered;

    friend bool operator==(const DeploymentBatch &, const DeploymentBatch &) = default;
};

/// The data of an answer. Throws DeploymentClientError::invalidResponse if the time of the reset is invalid, and
/// DecodingError if a required limit is missing.
[[nodiscard]] DeploymentBatch batchOf(
    const GitHubDeploymentGraphQLResponse::Payload &payload, RateLimitUse use = RateLimitUse::Always);

/// Decodes the body of an answer, from JSON to snapshots. Throws DecodingError, and what payload() and batchOf() throw.
[[nodiscard]] DeploymentBatch decodedBatch(QByteArrayView body, const QStringList &repositoryNodeIDs, RateLimitUse use,
    std::optional<Instant> resumeAt = std::nullopt);

} // namespace velmora
