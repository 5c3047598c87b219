// SPDX-License-Identifier: MIT
#include "simulator/script.h"

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

QString pickEnvironment(Random &random)
{
    const qint64 choice = random.between(1, 100);
    if (choice <= 30)
        return u"production"_s;
    if (choice <= 65)
        return u"staging"_s;
    return u"preview-%1"_s.arg(random.between(101, 119));
}

QString pickCreator(Random &random, const World &world)
{
    // In GraphQL the login of a bot has no suffix.
    if (random.chance(25))
        return u"github-actions"_s;
    return world.owners()[random.pick(world.identities())].login;
}

const QList<QString> &progressNotes()
{
    static const QList<QString> notes{u"Building the image"_s, u"Running database migrations"_s,
        u"Rolling out to the first region"_s, u"Waiting for health checks"_s, u"Uploading assets"_s,
        u"Warming the caches"_s, u""_s};
    return notes;
}

Step outcome(Random &random)
{
    static const QList<QString> causes{u"Health check of the new release failed after 3 attempts"_s,
        u"Migration 0042 could not be applied"_s, u"The image could not be pulled"_s, u"Smoke test “sign in” failed"_s,
        u"Deployment timed out"_s};
    const Milliseconds after = random.between(6'000, 70'000);
    const qint64 choice = random.between(1, 100);
    if (choice <= 91)
        return {after, u"SUCCESS"_s, random.chance(30) ? std::nullopt : std::optional(u"Deployed"_s)};
    if (choice <= 98)
        return {after, u"FAILURE"_s, random.pick(causes)};
    return {after, u"ERROR"_s, u"The runner lost its connection"_s};
}

QList<Step> makeSteps(Random &random, const QString &environment)
{
    QList<Step> steps{{random.between(200, 1'500), u"QUEUED"_s, std::nullopt}};
    if (environment == "production"_L1 && random.chance(60))
        steps.append({random.between(2'000, 5'000), u"WAITING"_s, u"Waiting for a review"_s});
    steps.append({random.between(3'000, 15'000), u"IN_PROGRESS"_s, std::nullopt});
    const qint64 notes = random.between(0, 3);
    for (qint64 i = 0; i < notes; ++i)
        steps.append({random.between(4'000, 25'000), u"IN_PROGRESS"_s, random.pick(progressNotes())});
    steps.append(outcome(random));
    return steps;
}

void endEarlierSuccesses(World &world, const Script &script, const QString &except, Milliseconds now)
{
    for (Deployment &deployment : world.change(script.repository).deployments) {
        if (deployment.id == except || deployment.state != "ACTIVE"_L1 || deployment.environment != script.environment)
            continue;
        deployment.state = u"INACTIVE"_s;
        deployment.updatedAt = now;
        deployment.latestStatus->state = u"INACTIVE"_s;
        deployment.latestStatus->updatedAt = now;
    }
}

} // namespace

QString deploymentState(const QString &statusState)
{
    return statusState == "SUCCESS"_L1 ? u"ACTIVE"_s : statusState;
}

Script makeScript(Random &random, const World &world, int repository, const QUrl &web)
{
    Script script;
    script.repository = repository;
    script.environment = pickEnvironment(random);
    script.creator = pickCreator(random, world);
    script.commitOid = random.hex(40);
    script.steps = makeSteps(random, script.environment);
    const QString root = web.toString(QUrl::StripTrailingSlash) + '/'_L1 + world.nameWithOwner(repository);
    if (random.chance(75))
        script.environmentUrl = root + "/environments/"_L1 + script.environment;
    else if (random.chance(50))
        script.environmentUrl = QString(u""_s);
    if (!random.chance(15)) {
        const qint64 run = random.between(9'100'000'000, 9'999'999'999);
        script.logUrl = u"%1/actions/runs/%2/job/%3"_s.arg(root).arg(run).arg(run + 17);
    } else if (random.chance(50)) {
        script.logUrl = QString(u""_s);
    }
    return script;
}

QString beginDeployment(World &world, const Script &script, Milliseconds now)
{
    Deployment deployment;
    deployment.environment = script.environment;
    deployment.latestEnvironment = script.environment;
    deployment.commitOid = script.commitOid;
    deployment.createdAt = now;
    deployment.updatedAt = now;
    deployment.state = u"PENDING"_s;
    deployment.creator = script.creator;
    return world.addDeployment(script.repository, std::move(deployment));
}

void applyStep(World &world, const Script &script, const QString &id, const Step &step, Milliseconds now)
{
    Deployment *const deployment = world.changeDeployment(script.repository, id);
    if (!deployment)
        return;
    deployment->state = deploymentState(step.state);
    deployment->updatedAt = now;
    DeploymentStatus status;
    status.state = step.state;
    status.description = step.description;
    status.environment = script.environment;
    status.environmentUrl = script.environmentUrl;
    status.logUrl = script.logUrl;
    status.updatedAt = now;
    deployment->latestStatus = std::move(status);
    if (step.state == "SUCCESS"_L1 && script.environment != "production"_L1)
        endEarlierSuccesses(world, script, id, now);
}

} // namespace velmora::simulator
