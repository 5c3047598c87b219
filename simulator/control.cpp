// SPDX-License-Identifier: MIT
#include "simulator/control.h"

#include "simulator/script.h"
#include "simulator/simulator.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

using Answer = Response (*)(Simulator &, const QJsonObject &);

Response done()
{
    return Response::json(200, QJsonObject{{u"ok"_s, true}});
}

Response wrong(const QString &reason)
{
    return Response::json(400, QJsonObject{{u"error"_s, reason}});
}

Response addRule(Simulator &simulator, const QJsonObject &json)
{
    QString reason;
    const auto rule = MisbehaviourRule::fromJSON(json, &reason);
    if (!rule)
        return wrong(reason);
    simulator.misbehaviour().add(*rule);
    return done();
}

Response clearRules(Simulator &simulator, const QJsonObject &)
{
    simulator.misbehaviour().clear();
    return done();
}

Response codes(Simulator &simulator, const QJsonObject &)
{
    return Response::json(
        200, QJsonObject{{u"userCodes"_s, QJsonArray::fromStringList(simulator.oauth().pendingUserCodes())}});
}

Response approve(Simulator &simulator, const QJsonObject &json)
{
    const World &world = simulator.world();
    const QString login = json["login"_L1].toString(world.owners()[world.identities().value(0)].login);
    const auto owner = world.ownerWithLogin(login);
    if (!owner || world.owners()[*owner].isOrganization)
        return wrong(u"no such login"_s);
    return simulator.oauth().approve(json["userCode"_L1].toString(), login) ? done() : wrong(u"no such code"_s);
}

Response deny(Simulator &simulator, const QJsonObject &json)
{
    return simulator.oauth().deny(json["userCode"_L1].toString()) ? done() : wrong(u"no such code"_s);
}

Response expire(Simulator &simulator, const QJsonObject &json)
{
    return simulator.oauth().expire(json["userCode"_L1].toString()) ? done() : wrong(u"no such code"_s);
}

Response revoke(Simulator &simulator, const QJsonObject &json)
{
    simulator.oauth().revoke(json["login"_L1].toString());
    return done();
}

Response issueToken(Simulator &simulator, const QJsonObject &json)
{
    const QString login = json["login"_L1].toString();
    if (!simulator.world().ownerWithLogin(login))
        return wrong(u"no such login"_s);
    return Response::json(200, QJsonObject{{u"accessToken"_s, simulator.issueAccessToken(login)}});
}

Response setTokens(Simulator &simulator, const QJsonObject &json)
{
    OAuthSettings &settings = simulator.oauth().settings();
    settings.tokensExpire = json["expire"_L1].toBool(settings.tokensExpire);
    settings.accessTokenSeconds = json["accessTokenSeconds"_L1].toInteger(settings.accessTokenSeconds);
    settings.refreshTokenSeconds = json["refreshTokenSeconds"_L1].toInteger(settings.refreshTokenSeconds);
    settings.interval = json["interval"_L1].toInt(settings.interval);
    settings.deviceCodeSeconds = json["deviceCodeSeconds"_L1].toInteger(settings.deviceCodeSeconds);
    return done();
}

Response setRateLimit(Simulator &simulator, const QJsonObject &json)
{
    if (json.contains("on"_L1)) {
        simulator.limits().setOn(json["on"_L1].toBool());
        return done();
    }
    const Milliseconds resetAt = simulator.now() + json["resetInSeconds"_L1].toInteger(3'600) * 1'000;
    simulator.limits().set(json["login"_L1].toString(), json["remaining"_L1].toInt(), resetAt);
    return done();
}

Response requests(Simulator &simulator, const QJsonObject &)
{
    return Response::json(200, QJsonDocument(simulator.log().toJSON()).toJson(QJsonDocument::Compact));
}

Response clearRequests(Simulator &simulator, const QJsonObject &)
{
    simulator.log().clear();
    return done();
}

Response advanceClock(Simulator &simulator, const QJsonObject &json)
{
    simulator.advanceClock(json["advanceSeconds"_L1].toInteger() * 1'000);
    return done();
}

Response setStory(Simulator &simulator, const QJsonObject &json)
{
    simulator.pauseStory(json["paused"_L1].toBool());
    return done();
}

Response describeWorld(Simulator &simulator, const QJsonObject &)
{
    const World &world = simulator.world();
    QJsonArray identities;
    for (const int identity : world.identities())
        identities.append(world.owners()[identity].login);
    QJsonArray repositories;
    for (int i = 0; i < world.repositories().size(); ++i) {
        const Repository &repository = world.repositories()[i];
        repositories.append(QJsonObject{{u"nodeID"_s, repository.nodeID}, {u"legacyNodeID"_s, repository.legacyNodeID},
            {u"nameWithOwner"_s, world.nameWithOwner(i)}, {u"deployments"_s, qint64(repository.deployments.size())}});
    }
    QJsonArray installations;
    for (const Installation &installation : world.installations()) {
        installations.append(
            QJsonObject{{u"id"_s, installation.id}, {u"account"_s, world.owners()[installation.owner].login},
                {u"repositories"_s, installation.repositories.size()}});
    }
    return Response::json(200,
        QJsonObject{{u"identities"_s, identities}, {u"installations"_s, installations},
            {u"repositories"_s, repositories}, {u"storyPaused"_s, simulator.isStoryPaused()}});
}

std::optional<QString> textOf(const QJsonObject &json, QLatin1StringView key, std::optional<QString> otherwise)
{
    if (!json.contains(key))
        return otherwise;
    return json[key].isNull() ? std::nullopt : std::optional(json[key].toString());
}

Response changeDeployment(Simulator &simulator, const QJsonObject &json)
{
    World &world = simulator.world();
    const auto repository = world.repositoryWithName(json["repository"_L1].toString());
    if (!repository)
        return wrong(u"no such repository"_s);
    Script script;
    script.repository = *repository;
    script.environment = json["environment"_L1].toString(u"production"_s);
    script.creator = json["creator"_L1].toString(u"github-actions"_s);
    script.commitOid = json["commitOid"_L1].toString(u"0123456789abcdef0123456789abcdef01234567"_s);
    const Milliseconds now = simulator.now() - json["ageSeconds"_L1].toInteger() * 1'000;
    QString id = json["id"_L1].toString();
    if (id.isEmpty())
        id = beginDeployment(world, script, now);
    Deployment *const deployment = world.changeDeployment(*repository, id);
    if (!deployment)
        return wrong(u"no such deployment"_s);
    if (!json.contains("environment"_L1))
        script.environment = deployment->environment.value_or(QString());
    DeploymentStatus before;
    if (deployment->latestStatus)
        before = *deployment->latestStatus;
    script.environmentUrl = textOf(json, "environmentUrl"_L1, before.environmentUrl);
    script.logUrl = textOf(json, "logUrl"_L1, before.logUrl);
    const Step step{0, json["state"_L1].toString(), textOf(json, "description"_L1, before.description)};
    if (!step.state.isEmpty())
        applyStep(world, script, id, step, now);
    return Response::json(200, QJsonObject{{u"id"_s, id}});
}

/// Installs the App on the identity's own account.
Response addInstallation(World &world, const QJsonObject &json)
{
    const auto identity = world.ownerWithLogin(json["identity"_L1].toString());
    if (!identity)
        return wrong(u"no such identity"_s);
    QList<int> granted;
    const QJsonArray names = json["repositories"_L1].toArray();
    for (const auto &name : names) {
        const auto repository = world.repositoryWithName(name.toString());
        if (!repository)
            return wrong(u"no such repository"_s);
        granted.append(*repository);
    }
    const int position = world.addInstallation(*identity, {*identity}, granted);
    return Response::json(200, QJsonObject{{u"id"_s, world.installations()[position].id}});
}

Response changeInstallation(Simulator &simulator, const QJsonObject &json)
{
    World &world = simulator.world();
    if (!json.contains("id"_L1))
        return addInstallation(world, json);
    const qint64 id = json["id"_L1].toInteger();
    for (int i = 0; i < world.installations().size(); ++i) {
        if (world.installations()[i].id != id)
            continue;
        Installation &installation = world.changeInstallation(i);
        installation.isSuspended = json["suspended"_L1].toBool(installation.isSuspended);
        const QString account = json["account"_L1].toString();
        installation.oddity = account == "null"_L1 ? AccountOddity::Null
            : account == "enterprise"_L1           ? AccountOddity::Enterprise
                                                   : AccountOddity::None;
        return done();
    }
    return wrong(u"no such installation"_s);
}

Response changeWorld(Simulator &simulator, const QJsonObject &json)
{
    if (json["restore"_L1].toBool()) {
        simulator.restoreWorld();
        return done();
    }
    if (json.contains("deployment"_L1))
        return changeDeployment(simulator, json["deployment"_L1].toObject());
    if (json.contains("installation"_L1))
        return changeInstallation(simulator, json["installation"_L1].toObject());
    if (!json.contains("replace"_L1))
        return wrong(u"one of replace, restore, deployment, installation"_s);
    const QJsonObject size = json["replace"_L1].toObject();
    simulator.replaceWorld({size["identities"_L1].toInt(1), size["installations"_L1].toInt(1),
        size["repositories"_L1].toInt(), size["deployments"_L1].toInt()});
    return describeWorld(simulator, {});
}

const QHash<QByteArray, Answer> &answers()
{
    static const QHash<QByteArray, Answer> table{{"POST /_control/rules", addRule},
        {"DELETE /_control/rules", clearRules}, {"GET /_control/codes", codes}, {"POST /_control/approve", approve},
        {"POST /_control/deny", deny}, {"POST /_control/expire", expire}, {"POST /_control/revoke", revoke},
        {"POST /_control/token", issueToken}, {"POST /_control/tokens", setTokens},
        {"POST /_control/ratelimit", setRateLimit}, {"GET /_control/requests", requests},
        {"DELETE /_control/requests", clearRequests}, {"POST /_control/clock", advanceClock},
        {"POST /_control/story", setStory}, {"GET /_control/world", describeWorld},
        {"POST /_control/world", changeWorld}};
    return table;
}

} // namespace

bool isControl(const Request &request)
{
    return request.path.startsWith("/_control/");
}

Response answerControl(Simulator &simulator, const Request &request)
{
    const Answer answer = answers().value(request.method + ' ' + request.path);
    if (!answer)
        return Response::json(404, QJsonObject{{u"error"_s, u"no such control"_s}});
    QJsonParseError fault;
    const QJsonDocument body = QJsonDocument::fromJson(request.body, &fault);
    if (request.method == "POST" && !body.isObject())
        return wrong(u"the body is no JSON object: "_s + fault.errorString());
    return answer(simulator, body.object());
}

} // namespace velmora::simulator
