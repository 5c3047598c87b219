// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_fetch_result.h"

#include <QList>
#include <QStringList>

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

struct ActorNode {
    QString login;
    friend bool operator==(const ActorNode &, const ActorNode &) = default;
};

struct StatusNode {
    QString state;
    std::optional<QString> description;
    std::optional<QString> environment;
    std::optional<WebAddress> environmentUrl;
    std::optional<WebAddress> logUrl;
    QString updatedAt;
    friend bool operator==(const StatusNode &, const StatusNode &) = default;
};

struct DeploymentNode {
    QString id;
    std::optional<QString> environment;
    std::optional<QString> latestEnvironment;
    QString commitOid;
    QString createdAt;
    QString updatedAt;
    std::optional<QString> state;
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
    friend bool operator==(const GraphQLError &, const GraphQLError &) = default;
};

struct GitHubDeploymentGraphQLResponse {
    struct Payload {
        /// An entry is absent for a null and for an object that is not a repository.
        QList<std::optional<RepositoryNode>> nodes;
        RateLimitNode rateLimit;
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

/// Velmora's record of one deployment; nothing when one of its own two times cannot be read.
[[nodiscard]] std::optional<DeploymentSnapshot> snapshot(
    const DeploymentNode &deployment, const RepositoryNode &repository);

/// The result of one batch: the snapshots in the order of the response, and the rate limit. Throws
/// DeploymentClientError::invalidResponse when the time of the reset cannot be read.
[[nodiscard]] DeploymentFetchResult fetchResult(const GitHubDeploymentGraphQLResponse::Payload &payload);

} // namespace velmora
