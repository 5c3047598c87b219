// SPDX-License-Identifier: MIT
#include "github/deployments_query.h"

#include "github/deployment_client_error.h"

#include <QSet>

namespace velmora
{

namespace
{

bool isRateLimit(const GraphQLError &error)
{
    // The word changed over the years; the secondary limit comes without one.
    return error.type == QLatin1String("RATE_LIMITED") || error.type == QLatin1String("RATE_LIMIT")
        || error.message.contains(QLatin1String("secondary rate"), Qt::CaseInsensitive);
}

QString environmentOf(const DeploymentNode &deployment)
{
    if (deployment.latestStatus && deployment.latestStatus->environment)
        return *deployment.latestStatus->environment;
    if (deployment.latestEnvironment)
        return *deployment.latestEnvironment;
    return deployment.environment.value_or(QStringLiteral("Default"));
}

/// The few names that the deployments of an answer repeat, each kept in memory once.
class SharedNames
{
public:
    void share(QString &name) { name = *m_names.insert(name); }
    void share(std::optional<QString> &name)
    {
        if (name)
            share(*name);
    }

private:
    QSet<QString> m_names;
};

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

std::optional<DeploymentSnapshot> snapshot(const DeploymentNode &deployment, const RepositoryNode &repository)
{
    const auto createdAt = parseISO8601(deployment.createdAt);
    const auto updatedAt = parseISO8601(deployment.updatedAt);
    if (!createdAt || !updatedAt)
        return std::nullopt;

    std::optional<DeploymentSnapshot> made(std::in_place);
    made->id = deployment.id;
    made->repositoryNodeID = repository.id;
    made->repositoryName = repository.nameWithOwner;
    made->repositoryURL = repository.url;
    made->environment = environmentOf(deployment);
    made->commitOID = deployment.commitOid;
    if (deployment.creator)
        made->creatorLogin = deployment.creator->login;
    made->createdAt = *createdAt;
    made->updatedAt = *updatedAt;
    if (const auto &status = deployment.latestStatus) {
        made->state = deploymentStateFromGitHub(status->state);
        made->updatedAt = parseISO8601(status->updatedAt).value_or(*updatedAt);
        made->statusDescription = status->description;
        made->logURL = status->logUrl;
        made->environmentURL = status->environmentUrl;
    } else {
        made->state = deploymentStateFromGitHub(deployment.state);
    }
    return made;
}

DeploymentFetchResult fetchResult(const GitHubDeploymentGraphQLResponse::Payload &payload)
{
    const auto resetAt = parseISO8601(payload.rateLimit.resetAt);
    if (!resetAt)
        throw DeploymentClientError::invalidResponse();
    DeploymentFetchResult result;
    result.rateLimit = {payload.rateLimit.cost, payload.rateLimit.remaining, *resetAt};
    SharedNames names;
    for (const auto &repository : payload.nodes) {
        if (!repository)
            continue;
        for (const auto &deployment : repository->deployments.nodes) {
            auto made = deployment ? snapshot(*deployment, *repository) : std::nullopt;
            if (!made)
                continue;
            names.share(made->environment);
            names.share(made->creatorLogin);
            result.deployments.append(std::move(*made));
        }
    }
    return result;
}

} // namespace velmora
