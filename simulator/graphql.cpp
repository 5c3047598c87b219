// SPDX-License-Identifier: MIT
#include "simulator/api.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr auto kDocumentation = "https://docs.github.com/graphql"_L1;
constexpr qsizetype kMostIDs = 100;
constexpr int kDeploymentsAnswered = 20; // the query asks for the first 20

// The one supported query, compared by essence().
constexpr auto kQuery
    = "query VelmoraDeployments($ids: [ID!]!) { nodes(ids: $ids) { ... on Repository { id nameWithOwner url "
      "deployments(first: 20, orderBy: {field: CREATED_AT, direction: DESC}) { nodes { id environment "
      "latestEnvironment commitOid createdAt updatedAt state creator { login } latestStatus { state description "
      "environment environmentUrl logUrl updatedAt } } } } } rateLimit { cost remaining resetAt } }"_L1;

// The query without spaces and commas, which GraphQL ignores except between two words.
QString essence(QStringView query)
{
    QString words;
    bool isApart = false;
    const auto isWord = [](QChar c) {
        return c.isLetterOrNumber() || c == u'_';
    };
    for (const QChar c : query) {
        if (c.isSpace() || c == u',') {
            isApart = true;
            continue;
        }
        if (isApart && !words.isEmpty() && isWord(words.back()) && isWord(c))
            words += u' ';
        words += c;
        isApart = false;
    }
    return words;
}

QByteArray textOrNull(const std::optional<QString> &text)
{
    return text ? jsonText(*text) : QByteArray("null");
}

QByteArray timeText(Milliseconds time)
{
    return '"' + isoTime(time).toLatin1() + '"';
}

QByteArray encodeStatus(const std::optional<DeploymentStatus> &status)
{
    if (!status)
        return "null";
    return "{\"state\":" + jsonText(status->state) + ",\"description\":" + textOrNull(status->description)
        + ",\"environment\":" + textOrNull(status->environment)
        + ",\"environmentUrl\":" + textOrNull(status->environmentUrl) + ",\"logUrl\":" + textOrNull(status->logUrl)
        + ",\"updatedAt\":" + timeText(status->updatedAt) + '}';
}

QByteArray encodeDeployment(const Deployment &deployment)
{
    return "{\"id\":" + jsonText(deployment.id) + ",\"environment\":" + textOrNull(deployment.environment)
        + ",\"latestEnvironment\":" + textOrNull(deployment.latestEnvironment)
        + ",\"commitOid\":" + jsonText(deployment.commitOid) + ",\"createdAt\":" + timeText(deployment.createdAt)
        + ",\"updatedAt\":" + timeText(deployment.updatedAt) + ",\"state\":" + textOrNull(deployment.state)
        + ",\"creator\":{\"login\":" + jsonText(deployment.creator)
        + "},\"latestStatus\":" + encodeStatus(deployment.latestStatus) + '}';
}

QByteArray encodeRepository(const APIContext &context, int position)
{
    const Repository &repository = context.world.repositories()[position];
    if (!repository.encoded.isEmpty())
        return repository.encoded;
    const QString name = context.world.nameWithOwner(position);
    QByteArray text = "{\"id\":" + jsonText(repository.nodeID) + ",\"nameWithOwner\":" + jsonText(name) + ",\"url\":"
        + jsonText(context.web.toString(QUrl::StripTrailingSlash) + '/'_L1 + name) + ",\"deployments\":{\"nodes\":[";
    const int count = std::min(kDeploymentsAnswered, int(repository.deployments.size()));
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + encodeDeployment(repository.deployments[std::size_t(i)]);
    text += "]}}";
    context.world.keepEncoded(position, text);
    return text;
}

/// Collects the parts of an answer.
struct Answer {
    QByteArrayList nodes;
    QJsonArray errors;
    QJsonArray warnings;

    void addMissing(const QString &id)
    {
        const int index = int(nodes.size());
        nodes.append("null");
        errors.append(QJsonObject{{u"type"_s, u"NOT_FOUND"_s}, {u"path"_s, QJsonArray{u"nodes"_s, index}},
            {u"locations"_s, QJsonArray{QJsonObject{{u"line"_s, 2}, {u"column"_s, 3}}}},
            {u"message"_s, u"Could not resolve to a node with the global id of '%1'"_s.arg(id)}});
    }

    void warnOfLegacy(const QString &id, const QString &next)
    {
        warnings.append(QJsonObject{{u"type"_s, u"DEPRECATION"_s},
            {u"message"_s, u"The id %1 is deprecated. Update your cache to use the next_global_id."_s.arg(id)},
            {u"data"_s, QJsonObject{{u"legacy_global_id"_s, id}, {u"next_global_id"_s, next}}},
            {u"link"_s, u"https://docs.github.com/graphql/guides/migrating-graphql-global-node-ids"_s}});
    }

    static QByteArray text(const RateLimit &limit)
    {
        return "{\"cost\":1,\"remaining\":" + QByteArray::number(limit.remaining)
            + ",\"resetAt\":" + timeText(limit.resetAt) + '}';
    }

    /// `rateLimit` is JSON.
    [[nodiscard]] QByteArray text(const QByteArray &rateLimit) const
    {
        QByteArray all = "{\"data\":{\"nodes\":[" + nodes.join(',') + "],\"rateLimit\":" + rateLimit + '}';
        if (!errors.isEmpty())
            all += ",\"errors\":" + QJsonDocument(errors).toJson(QJsonDocument::Compact);
        if (!warnings.isEmpty()) {
            all += ",\"extensions\":"
                + QJsonDocument(QJsonObject{{u"warnings"_s, warnings}}).toJson(QJsonDocument::Compact);
        }
        return all + '}';
    }
};

Answer answerFor(const APIContext &context, const QStringList &ids, int identity)
{
    Answer answer;
    for (const QString &id : ids) {
        const auto repository = context.world.repositoryWithNodeID(id);
        if (repository && context.world.isVisible(*repository, identity)) {
            const QString &next = context.world.repositories()[*repository].nodeID;
            if (id != next)
                answer.warnOfLegacy(id, next);
            answer.nodes.append(encodeRepository(context, *repository));
        } else if (context.world.isOtherNode(id)) {
            answer.nodes.append("{}");
        } else {
            answer.addMissing(id);
        }
    }
    return answer;
}

Response errorAnswer(const QJsonObject &error)
{
    return Response::json(200, QJsonObject{{u"errors"_s, QJsonArray{error}}});
}

Response rateLimited(const APIContext &context, int identity, const RateLimit &limit)
{
    Response response = errorAnswer({{u"type"_s, u"RATE_LIMIT"_s}, {u"code"_s, u"graphql_rate_limit"_s},
        {u"message"_s, u"API rate limit already exceeded for user ID %1."_s.arg(context.world.owners()[identity].id)}});
    response.headers += context.limits.headers(limit, "graphql");
    return response;
}

Response invalidIDs()
{
    return errorAnswer({{u"message"_s, u"Variable $ids of type [ID!]! was provided invalid value"_s},
        {u"locations"_s, QJsonArray{QJsonObject{{u"line"_s, 1}, {u"column"_s, 26}}}},
        {u"extensions"_s,
            QJsonObject{{u"value"_s, QJsonValue::Null},
                {u"problems"_s,
                    QJsonArray{QJsonObject{
                        {u"path"_s, QJsonArray()}, {u"explanation"_s, u"Expected value to not be null"_s}}}}}}});
}

Response tooManyIDs(qsizetype count)
{
    return errorAnswer({{u"type"_s, u"ARGUMENT_LIMIT"_s}, {u"path"_s, QJsonArray{u"nodes"_s}},
        {u"locations"_s, QJsonArray{QJsonObject{{u"line"_s, 2}, {u"column"_s, 3}}}},
        {u"message"_s, u"You may not provide more than 100 node ids; you provided %1."_s.arg(count)}});
}

std::optional<QStringList> idsOf(const QJsonObject &body)
{
    const QJsonValue value = body["variables"_L1].toObject()["ids"_L1];
    if (!value.isArray())
        return std::nullopt;
    QStringList ids;
    const QJsonArray array = value.toArray();
    for (const QJsonValue id : array) {
        if (!id.isString())
            return std::nullopt;
        ids.append(id.toString());
    }
    return ids;
}

std::optional<Response> refuse(const QJsonDocument &body, const std::optional<QStringList> &ids)
{
    if (!body.isObject())
        return apiError(400, u"Problems parsing JSON"_s, kDocumentation);
    const QJsonValue query = body.object()["query"_L1];
    if (!query.isString())
        return errorAnswer({{u"message"_s, u"A query attribute must be specified and must be a string."_s}});
    if (essence(query.toString()) != essence(QString(kQuery))) {
        return errorAnswer(
            {{u"path"_s, QJsonArray{u"query"_s}}, {u"extensions"_s, QJsonObject{{u"code"_s, u"unsupportedQuery"_s}}},
                {u"locations"_s, QJsonArray{QJsonObject{{u"line"_s, 1}, {u"column"_s, 1}}}},
                {u"message"_s, u"The stand-in knows only the query VelmoraDeployments"_s}});
    }
    if (!ids)
        return invalidIDs();
    if (ids->size() > kMostIDs)
        return tooManyIDs(ids->size());
    return std::nullopt;
}

} // namespace

Response answerGraphQL(const APIContext &context, const Request &request)
{
    if (auto refusal = refuseAnonymousAgent(request))
        return *refusal;
    const QString login = context.oauth.loginOf(request.token(), context.now);
    const auto identity = context.world.ownerWithLogin(login);
    if (!identity)
        return badCredentials(request, kDocumentation);
    const QJsonDocument body = QJsonDocument::fromJson(request.body);
    const auto ids = idsOf(body.object());
    if (auto refusal = refuse(body, ids)) {
        refusal->headers += context.limits.headers(context.limits.look(login, "graphql", context.now), "graphql");
        return *refusal;
    }
    bool isSpent = false;
    const RateLimit limit = context.limits.take(login, "graphql", context.now, &isSpent);
    if (isSpent)
        return rateLimited(context, *identity, limit);
    const QByteArray told = context.limits.areOn() ? Answer::text(limit) : QByteArray("null");
    Response response = Response::json(200, answerFor(context, *ids, *identity).text(told));
    response.headers += context.limits.headers(limit, "graphql");
    response.headers.append(Header{"X-GitHub-Media-Type", "github.v4; format=json"});
    return response;
}

} // namespace velmora::simulator
