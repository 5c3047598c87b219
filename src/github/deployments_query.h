// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_fetch_result.h"

#include <QList>
#include <QStringList>
#include <QUtf8StringView>

#include <optional>

namespace velmora
{

/// The text of the one GraphQL query that Velmora sends.
[[nodiscard]] const QString &deploymentsQueryText();

struct GitHubGraphQLRequest {
    struct Variables {
        QList<QString> ids;
        friend bool operator==(const Variables &, const Variables &) = default;
    };
    QString query;
    Variables variables;
    friend bool operator==(const GitHubGraphQLRequest &, const GitHubGraphQLRequest &) = default;
};

// What a deployment's nodes hold is still the answer's own text: a batch has thousands of texts, of which a snapshot
// keeps a few. These records live no longer than the JSONDocument that they were decoded from.

struct ActorNode {
    QUtf8StringView login;
    friend bool operator==(const ActorNode &, const ActorNode &) = default;
};

struct StatusNode {
    QUtf8StringView state;
    std::optional<QUtf8StringView> description;
    std::optional<QUtf8StringView> environment;
    std::optional<QUtf8StringView> environmentUrl; ///< may be empty, which is no address
    std::optional<QUtf8StringView> logUrl; ///< may be empty, which is no address
    QUtf8StringView updatedAt;
    friend bool operator==(const StatusNode &, const StatusNode &) = default;
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
    friend bool operator==(const DeploymentNode &, const DeploymentNode &) = default;
};

struct DeploymentConnection {
    QList<std::optional<DeploymentNode>> nodes;
    friend bool operator==(const DeploymentConnection &, const DeploymentConnection &) = default;
};

struct RepositoryNode {
    QString id;
    QString nameWithOwner;
    WebAddress url;
    DeploymentConnection deployments;
    friend bool operator==(const RepositoryNode &, const RepositoryNode &) = default;
};

struct RateLimitNode {
    qint64 cost = 0;
    qint64 remaining = 0;
    QString resetAt;
    friend bool operator==(const RateLimitNode &, const RateLimitNode &) = default;
};

struct GraphQLError {
    QString message;
    std::optional<QString> type; ///< GitHub's word for the kind of error, such as "RATE_LIMITED"
    std::optional<qsizetype> node; ///< which of the nodes it is about, by its place in the request
    bool isSingleSignOn = false; ///< the organisation's single sign-on is what is missing
    friend bool operator==(const GraphQLError &, const GraphQLError &) = default;
};

/// Decoded from a JSONDocument, which it must not outlive.
struct GitHubDeploymentGraphQLResponse {
    struct Payload {
        /// An entry is absent for a null and for an object that is not a repository.
        QList<std::optional<RepositoryNode>> nodes;
        std::optional<RateLimitNode> rateLimit; ///< absent for a null
        friend bool operator==(const Payload &, const Payload &) = default;
    };
    std::optional<Payload> data;
    std::optional<QList<GraphQLError>> errors;
    friend bool operator==(const GitHubDeploymentGraphQLResponse &, const GitHubDeploymentGraphQLResponse &) = default;
};

/// The data of the response, errors beside it ignored. Without data throws DeploymentClientError: graphQL
/// with every message, or invalidResponse when there is not even an error. Errors that tell of a rate limit
/// carry a RateLimitNotice with `resumeAt`, the time that the headers of the response name.
[[nodiscard]] GitHubDeploymentGraphQLResponse::Payload payload(
    GitHubDeploymentGraphQLResponse response, std::optional<Instant> resumeAt = std::nullopt);

/// The repositories that are null in the data because of an error, of those that were asked for.
[[nodiscard]] QList<UnansweredRepository> unansweredRepositories(
    const GitHubDeploymentGraphQLResponse &response, const QStringList &nodeIDs);

/// Velmora's record of one deployment; nothing when one of its own two times cannot be read.
[[nodiscard]] std::optional<DeploymentSnapshot> snapshot(
    const DeploymentNode &deployment, const RepositoryNode &repository);

/// Whether answers without a rate limit are to be expected.
enum class RateLimitUse {
    Always, ///< as on github.com
    Configurable, ///< an Enterprise Server has none unless its owner switches them on
};

/// Appends the snapshots of one batch, in the order of the response, and returns its rate limit, or
/// DeploymentRateLimit::none(). Throws DeploymentClientError::invalidResponse, before anything is appended, when the
/// time of the reset cannot be read, and DecodingError when there has to be a limit and is none.
[[nodiscard]] DeploymentRateLimit appendResult(QList<DeploymentSnapshot> &deployments,
    const GitHubDeploymentGraphQLResponse::Payload &payload, RateLimitUse use = RateLimitUse::Always);

/// The same as a result of its own.
[[nodiscard]] DeploymentFetchResult fetchResult(
    const GitHubDeploymentGraphQLResponse::Payload &payload, RateLimitUse use = RateLimitUse::Always);

} // namespace velmora
