// SPDX-License-Identifier: MIT
// The JSON of the deployments query and of its response.
#include "github/wire/deployments_query.h"
#include "support/error.h"
#include "support/json_coding.h"

namespace velmora
{

template <>
struct JSONTable<GitHubGraphQLRequest::Variables> {
    using Record = GitHubGraphQLRequest::Variables;
    static constexpr auto fields = std::tuple{json::required("ids", &Record::ids)};
};

template <>
struct JSONTable<GitHubGraphQLRequest> {
    using Record = GitHubGraphQLRequest;
    static constexpr auto fields
        = std::tuple{json::required("query", &Record::query), json::required("variables", &Record::variables)};
};

template <>
struct JSONTable<ActorNode> {
    static constexpr auto fields = std::tuple{json::required("login", &ActorNode::login)};
};

template <>
struct JSONTable<StatusNode> {
    using Record = StatusNode;
    static constexpr auto fields = std::tuple{json::required("state", &Record::state),
        json::optional("description", &Record::description), json::optional("environment", &Record::environment),
        json::optional("environmentUrl", &Record::environmentUrl), json::optional("logUrl", &Record::logUrl),
        json::required("updatedAt", &Record::updatedAt)};
};

template <>
struct JSONTable<DeploymentNode> {
    using Record = DeploymentNode;
    static constexpr auto fields
        = std::tuple{json::required("id", &Record::id), json::optional("environment", &Record::environment),
            json::optional("latestEnvironment", &Record::latestEnvironment),
            json::required("commitOid", &Record::commitOid), json::required("createdAt", &Record::createdAt),
            json::required("updatedAt", &Record::updatedAt), json::optional("state", &Record::state),
            json::optional("creator", &Record::creator), json::optional("latestStatus", &Record::latestStatus)};
};

template <>
struct JSONTable<DeploymentConnection> {
    static constexpr auto fields = std::tuple{json::required("nodes", &DeploymentConnection::nodes)};
};

template <>
struct JSONTable<RepositoryNode> {
    using Record = RepositoryNode;
    static constexpr auto fields
        = std::tuple{json::required("id", &Record::id), json::required("nameWithOwner", &Record::nameWithOwner),
            json::required("url", &Record::url), json::required("deployments", &Record::deployments)};
};

template <>
struct JSONTable<RateLimitNode> {
    using Record = RateLimitNode;
    static constexpr auto fields = std::tuple{json::required("cost", &Record::cost),
        json::required("remaining", &Record::remaining), json::required("resetAt", &Record::resetAt)};
};

/// GitHub answers an identifier of something other than a repository with an object without the requested fields.
template <>
struct json::Codec<std::optional<RepositoryNode>> {
    static void decode(std::optional<RepositoryNode> &value, Element element, const Path &path)
    {
        simdjson::dom::object object;
        if (element.is_null() || (element.get(object) == simdjson::SUCCESS && !isRepository(object)))
            return;
        Codec<RepositoryNode>::decode(value.emplace(), element, path);
    }

private:
    static bool isRepository(simdjson::dom::object object)
    {
        const auto isFieldOfRepository = [](std::string_view key) {
            return std::apply(
                [key](const auto &...field) { return ((key == field.key) || ...); }, JSONTable<RepositoryNode>::fields);
        };
        return std::any_of(
            object.begin(), object.end(), [&](const auto &member) { return isFieldOfRepository(member.key); });
    }
};

/// Only the message is required. Other fields of an unexpected form are ignored, since they only refine it.
template <>
struct json::Codec<GraphQLError> {
    static void decode(GraphQLError &value, Element element, const Path &path)
    {
        simdjson::dom::object object;
        if (element.get(object) != simdjson::SUCCESS)
            failExpected(path, "an object");
        const Path messagePath{&path, "message", 0};
        Element message;
        if (object["message"].get(message) != simdjson::SUCCESS || message.is_null())
            failMissing(messagePath);
        Codec<QString>::decode(value.message, message, messagePath);
        value.message = cutText(value.message);
        std::string_view type;
        if (object["type"].get(type) == simdjson::SUCCESS)
            value.type = cutText(QString::fromUtf8(type.data(), static_cast<qsizetype>(type.size())));
        value.node = nodeOf(object);
        bool isSingleSignOn = false;
        if (object["extensions"]["saml_failure"].get(isSingleSignOn) == simdjson::SUCCESS)
            value.isSingleSignOn = isSingleSignOn;
    }

private:
    /// The path of an error within a node begins with "nodes" and the index of the node.
    static std::optional<qsizetype> nodeOf(simdjson::dom::object error)
    {
        simdjson::dom::array path;
        std::string_view first;
        uint64_t place = 0;
        if (error["path"].get(path) != simdjson::SUCCESS || path.at(0).get(first) != simdjson::SUCCESS
            || first != "nodes" || path.at(1).get(place) != simdjson::SUCCESS || place > kMostNodes)
            return std::nullopt;
        return static_cast<qsizetype>(place);
    }

    static constexpr uint64_t kMostNodes = 100; ///< GitHub's limit for one query
};

template <>
struct JSONTable<GitHubDeploymentGraphQLResponse::Payload> {
    using Record = GitHubDeploymentGraphQLResponse::Payload;
    static constexpr auto fields
        = std::tuple{json::required("nodes", &Record::nodes), json::nullable("rateLimit", &Record::rateLimit)};
};

template <>
struct JSONTable<GitHubDeploymentGraphQLResponse> {
    using Record = GitHubDeploymentGraphQLResponse;
    static constexpr auto fields
        = std::tuple{json::optional("data", &Record::data), json::optional("errors", &Record::errors)};
};

template QByteArray encodeJSON<GitHubGraphQLRequest>(const GitHubGraphQLRequest &);
template GitHubDeploymentGraphQLResponse decodeJSON<GitHubDeploymentGraphQLResponse>(const JSONDocument &);

} // namespace velmora
