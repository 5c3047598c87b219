// SPDX-License-Identifier: MIT
#include "github/deployments_query.h"

#include "github/deployment_client_error.h"

#include <QHash>

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

QUtf8StringView environmentOf(const DeploymentNode &deployment)
{
    if (deployment.latestStatus && deployment.latestStatus->environment)
        return *deployment.latestStatus->environment;
    if (deployment.latestEnvironment)
        return *deployment.latestEnvironment;
    return deployment.environment.value_or("Default");
}

/// The few texts that the deployments of an answer repeat, each kept in memory once.
class SharedTexts
{
public:
    QString text(QUtf8StringView utf8)
    {
        const QByteArrayView key(utf8.data(), utf8.size());
        auto known = m_texts.constFind(key);
        if (known == m_texts.constEnd())
            known = m_texts.insert(key, utf8.toString());
        return *known;
    }

private:
    QHash<QByteArrayView, QString> m_texts;
};

/// GitHub writes "" for an address that nobody gave.
bool isAddress(const std::optional<QUtf8StringView> &text)
{
    return text && !text->isEmpty();
}

struct Times {
    Instant createdAt;
    Instant updatedAt;
};

std::optional<Times> timesOf(const DeploymentNode &deployment)
{
    const auto createdAt = parseISO8601(deployment.createdAt);
    const auto updatedAt = parseISO8601(deployment.updatedAt);
    if (!createdAt || !updatedAt)
        return std::nullopt;
    return Times{*createdAt, *updatedAt};
}

void fill(DeploymentSnapshot &made, const DeploymentNode &deployment, const RepositoryNode &repository, Times times,
    SharedTexts &shared)
{
    made.id = deployment.id.toString();
    made.repositoryNodeID = repository.id;
    made.repositoryName = repository.nameWithOwner;
    made.repositoryURL = repository.url;
    made.environment = shared.text(environmentOf(deployment));
    made.commitOID = deployment.commitOid.toString();
    if (deployment.creator)
        made.creatorLogin = shared.text(deployment.creator->login);
    made.createdAt = times.createdAt;
    made.updatedAt = times.updatedAt;
    const auto &status = deployment.latestStatus;
    if (!status) {
        made.state = deploymentStateFromGitHub(deployment.state);
        return;
    }
    made.state = deploymentStateFromGitHub(status->state);
    made.updatedAt = parseISO8601(status->updatedAt).value_or(times.updatedAt);
    if (status->description)
        made.statusDescription = status->description->toString();
    if (isAddress(status->logUrl))
        made.logURL = WebAddress(status->logUrl->toString());
    if (isAddress(status->environmentUrl))
        made.environmentURL = WebAddress(shared.text(*status->environmentUrl));
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

std::optional<DeploymentSnapshot> snapshot(const DeploymentNode &deployment, const RepositoryNode &repository)
{
    const auto times = timesOf(deployment);
    if (!times)
        return std::nullopt;
    std::optional<DeploymentSnapshot> made(std::in_place);
    SharedTexts shared;
    fill(*made, deployment, repository, *times, shared);
    return made;
}

DeploymentRateLimit appendResult(
    QList<DeploymentSnapshot> &deployments, const GitHubDeploymentGraphQLResponse::Payload &payload)
{
    const auto resetAt = parseISO8601(payload.rateLimit.resetAt);
    if (!resetAt)
        throw DeploymentClientError::invalidResponse();
    SharedTexts shared;
    for (const auto &repository : payload.nodes) {
        if (!repository)
            continue;
        for (const auto &deployment : repository->deployments.nodes) {
            if (!deployment)
                continue;
            if (const auto times = timesOf(*deployment))
                fill(deployments.emplaceBack(), *deployment, *repository, *times, shared);
        }
    }
    return {payload.rateLimit.cost, payload.rateLimit.remaining, *resetAt};
}

DeploymentFetchResult fetchResult(const GitHubDeploymentGraphQLResponse::Payload &payload)
{
    DeploymentFetchResult result;
    result.rateLimit = appendResult(result.deployments, payload);
    return result;
}

} // namespace velmora
