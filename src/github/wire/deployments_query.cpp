// SPDX-License-Identifier: MIT
#include "github/wire/deployments_query.h"

#include "github/deployment_client_error.h"
#include "support/error.h"
#include "support/json.h"

#include <QSet>

#include <algorithm>

namespace velmora
{

namespace
{

bool isRateLimit(const GraphQLError &error)
{
    // GitHub has used both types over the years. Errors of the secondary limit have no type.
    return error.type == QLatin1String("RATE_LIMITED") || error.type == QLatin1String("RATE_LIMIT")
        || error.message.contains(QLatin1String("secondary rate"), Qt::CaseInsensitive);
}

QUtf8StringView environmentOf(const DeploymentNode &deployment)
{
    if (deployment.latestStatus && deployment.latestStatus->environment)
        return *deployment.latestStatus->environment;
    if (deployment.latestEnvironment)
        return *deployment.latestEnvironment;
    return deployment.environment.value_or("Default");
}

/// The reason why GitHub withholds a repository, and the remedy.
QString reasonFor(const GraphQLError &error)
{
    if (error.isSingleSignOn || error.message.contains(QLatin1String("SAML")))
        return QStringLiteral("Its organization asks for single sign-on. Sign in to the organization on GitHub, then "
                              "connect the account again.");
    if (error.type == QLatin1String("NOT_FOUND"))
        return QStringLiteral("GitHub does not find it. It was deleted, or the account has lost access to it.");
    if (error.type == QLatin1String("RESOURCE_LIMITS_EXCEEDED"))
        return QStringLiteral("GitHub found the question too expensive. It is asked again with the next refresh.");
    if (error.message.contains(QLatin1String("IP allow list"), Qt::CaseInsensitive))
        return QStringLiteral("Its organization does not accept requests from this network. Ask an owner of the "
                              "organization to allow it.");
    if (error.type == QLatin1String("FORBIDDEN"))
        return QStringLiteral("Velmora may not read its deployments. Allow “Deployments: read-only” where the App is "
                              "installed on GitHub.");
    return error.message;
}

/// GitHub writes "" for an address that is not set.
bool isAddress(const std::optional<QUtf8StringView> &text)
{
    return text && !text->isEmpty();
}

DeploymentRateLimit rateLimitOf(const std::optional<RateLimitNode> &node, RateLimitUse use)
{
    if (!node && use == RateLimitUse::Configurable)
        return DeploymentRateLimit::none();
    if (!node)
        throw DecodingError(QStringLiteral("data.rateLimit is missing"));
    const auto resetAt = parseISO8601(node->resetAt);
    if (!resetAt)
        throw DeploymentClientError::invalidResponse();
    return {node->cost, node->remaining, *resetAt};
}

} // namespace

const QString &deploymentsQueryText()
{
    static const QString text
        = QStringLiteral("query VelmoraDeployments($ids: [ID!]!) {\n"
                         "  nodes(ids: $ids) {\n"
                         "    ... on Repository {\n"
                         "      id\n"
                         "      nameWithOwner\n"
                         "      url\n"
                         "      deployments(first: 20, orderBy: {field: CREATED_AT, direction: DESC}) {\n"
                         "        nodes {\n"
                         "          id\n"
                         "          environment\n"
                         "          latestEnvironment\n"
                         "          commitOid\n"
                         "          createdAt\n"
                         "          updatedAt\n"
                         "          state\n"
                         "          creator {\n"
                         "            login\n"
                         "          }\n"
                         "          latestStatus {\n"
                         "            state\n"
                         "            description\n"
                         "            environment\n"
                         "            environmentUrl\n"
                         "            logUrl\n"
                         "            updatedAt\n"
                         "          }\n"
                         "        }\n"
                         "      }\n"
                         "    }\n"
                         "  }\n"
                         "  rateLimit {\n"
                         "    cost\n"
                         "    remaining\n"
                         "    resetAt\n"
                         "  }\n"
                         "}");
    return text;
}

GitHubDeploymentGraphQLResponse::Payload payload(
    GitHubDeploymentGraphQLResponse response, std::optional<Instant> resumeAt)
{
    if (response.data)
        return std::move(*response.data);
    if (!response.errors || response.errors->isEmpty())
        throw DeploymentClientError::invalidResponse();
    QStringList messages;
    for (const auto &error : std::as_const(*response.errors))
        messages.append(error.message);
    std::optional<RateLimitNotice> notice;
    if (std::any_of(response.errors->cbegin(), response.errors->cend(), isRateLimit))
        notice = RateLimitNotice{resumeAt};
    throw DeploymentClientError::graphQL(std::move(messages), notice);
}

QString SharedTexts::text(QUtf8StringView utf8)
{
    const QByteArrayView bytes(utf8.data(), utf8.size());
    if (bytes.isEmpty())
        return QStringLiteral("");
    const auto mixed = static_cast<std::size_t>(bytes.size() + bytes.last() * 7 + bytes[bytes.size() / 2] * 31);
    Recent &recent = m_recent[mixed % m_recent.size()];
    if (recent.utf8 != bytes)
        recent = {bytes, utf8.toString()};
    return recent.text;
}

std::optional<DeploymentSnapshot> snapshot(
    const DeploymentNode &deployment, const RepositoryNode &repository, SharedTexts &texts)
{
    const auto createdAt = parseISO8601(deployment.createdAt);
    const auto updatedAt = parseISO8601(deployment.updatedAt);
    if (!createdAt || !updatedAt)
        return std::nullopt;
    DeploymentSnapshot made;
    made.id = deployment.id.toString();
    made.repositoryNodeID = repository.id;
    made.repositoryName = repository.nameWithOwner;
    made.repositoryURL = repository.url;
    made.environment = texts.text(environmentOf(deployment));
    made.commitOID = deployment.commitOid.toString();
    if (deployment.creator)
        made.creatorLogin = texts.text(deployment.creator->login);
    made.createdAt = *createdAt;
    made.updatedAt = *updatedAt;
    const auto &status = deployment.latestStatus;
    made.state = deploymentStateFromGitHub(status ? status->state : deployment.state);
    if (!status)
        return made;
    made.updatedAt = parseISO8601(status->updatedAt).value_or(*updatedAt);
    if (status->description)
        made.statusDescription = status->description->toString();
    if (isAddress(status->logUrl))
        made.logURL = WebAddress(status->logUrl->toString());
    if (isAddress(status->environmentUrl))
        made.environmentURL = WebAddress(texts.text(*status->environmentUrl));
    return made;
}

QList<UnansweredRepository> unansweredRepositories(
    const GitHubDeploymentGraphQLResponse &response, const QStringList &nodeIDs)
{
    QList<UnansweredRepository> unanswered;
    if (!response.data || !response.errors)
        return unanswered;
    const auto &nodes = response.data->nodes;
    QSet<qsizetype> explained;
    for (const GraphQLError &error : *response.errors) {
        const qsizetype place = error.node.value_or(nodes.size());
        if (place < 0 || place >= std::min(nodes.size(), nodeIDs.size()) || nodes.at(place).has_value()
            || explained.contains(place))
            continue;
        explained.insert(place);
        unanswered.append({nodeIDs.at(place), reasonFor(error)});
    }
    return unanswered;
}

DeploymentList deploymentsOf(const RepositoryNode &repository, SharedTexts &texts)
{
    QList<DeploymentSnapshot> records;
    records.reserve(repository.deployments.nodes.size());
    for (const auto &deployment : repository.deployments.nodes) {
        if (!deployment)
            continue;
        if (auto made = snapshot(*deployment, repository, texts))
            records.append(std::move(*made));
    }
    return sharedList(std::move(records));
}

DeploymentBatch batchOf(const GitHubDeploymentGraphQLResponse::Payload &payload, RateLimitUse use)
{
    DeploymentBatch batch;
    batch.rateLimit = rateLimitOf(payload.rateLimit, use);
    SharedTexts texts;
    for (const auto &repository : payload.nodes)
        batch.repositories.append(repository ? deploymentsOf(*repository, texts) : DeploymentList());
    return batch;
}

DeploymentBatch decodedBatch(
    QByteArrayView body, const QStringList &repositoryNodeIDs, RateLimitUse use, std::optional<Instant> resumeAt)
{
    const JSONDocument document(body);
    auto answer = decodeJSON<GitHubDeploymentGraphQLResponse>(document);
    auto unanswered = unansweredRepositories(answer, repositoryNodeIDs);
    auto made = batchOf(payload(std::move(answer), resumeAt), use);
    made.unanswered = std::move(unanswered);
    return made;
}

} // namespace velmora
