// SPDX-License-Identifier: MIT
#include "story_github.h"

#include "simulator/script.h"

#include <stdexcept>

namespace velmora::testing
{

namespace
{

simulator::SimulatorOptions optionsWith(const Clock *clock)
{
    simulator::SimulatorOptions options;
    options.playsStory = false;
    options.oauth.interval = 1; // shorter than a tick of the monitor, to be told apart from it
    options.clock = [clock] {
        const auto now = std::chrono::floor<std::chrono::milliseconds>(clock->now());
        return simulator::Milliseconds(now.time_since_epoch().count());
    };
    return options;
}

} // namespace

StoryGitHub::StoryGitHub(const Clock *clock)
    : simulator(optionsWith(clock))
{
    if (!simulator.start())
        throw std::runtime_error("the stand-in for GitHub cannot listen");
    simulator.world() = simulator::World();
}

void StoryGitHub::hasPoints(const QString &login, int remaining, Instant resetAt)
{
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(resetAt.time_since_epoch());
    simulator.limits().set(login, remaining, sinceEpoch.count());
}

void StoryGitHub::joins(const QString &login)
{
    std::ignore = person(login);
}

void StoryGitHub::installs(const QString &login, const QStringList &names)
{
    installsFor(login, login, names);
}

void StoryGitHub::installsFor(const QString &login, const QString &organisation, const QStringList &names)
{
    QList<int> granted;
    for (const QString &name : names)
        granted.append(repository(organisation + QLatin1Char('/') + name));
    simulator.world().addInstallation(person(organisation), {person(login)}, granted);
}

void StoryGitHub::uninstalls(const QString &login)
{
    const int owner = person(login);
    const auto seen = simulator.world().installationsOf(owner);
    for (const int installation : seen)
        simulator.world().changeInstallation(installation).identities.remove(owner);
}

void StoryGitHub::suspends(const QString &login, bool isSuspended)
{
    simulator::World &world = simulator.world();
    const int owner = person(login);
    for (int installation = 0; installation < world.installations().size(); ++installation) {
        if (world.installations()[installation].owner == owner)
            world.changeInstallation(installation).isSuspended = isSuspended;
    }
}

void StoryGitHub::renames(const QString &repositoryName, const QString &name)
{
    simulator.world().change(repository(repositoryName)).name = name;
}

QString StoryGitHub::deploys(const QString &repositoryName, const QString &environment, const QString &creator)
{
    simulator::Script script;
    script.repository = repository(repositoryName);
    script.environment = environment;
    script.creator = creator;
    script.commitOid = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    const QString id = beginDeployment(simulator.world(), script, simulator.now());
    m_repositories.insert(id, script.repository);
    sets(id, QStringLiteral("IN_PROGRESS"));
    return id;
}

void StoryGitHub::sets(const QString &deployment, const QString &state)
{
    simulator::Script script;
    script.repository = m_repositories.value(deployment);
    const auto *const changed = simulator.world().changeDeployment(script.repository, deployment);
    if (!changed)
        throw std::runtime_error("there is no such deployment");
    script.environment = changed->environment.value_or(QString());
    applyStep(simulator.world(), script, deployment, {0, state, std::nullopt}, simulator.now());
}

void StoryGitHub::failsFor(const QString &login)
{
    simulator::MisbehaviourRule rule;
    rule.login = login;
    rule.status = 503;
    simulator.misbehaviour().add(rule);
}

void StoryGitHub::isUnreachable()
{
    simulator::MisbehaviourRule rule;
    rule.delivery.close = simulator::Delivery::Close::Before;
    // The status is never sent, but it prevents the request from having an effect.
    rule.status = 503;
    simulator.misbehaviour().add(rule);
}

void StoryGitHub::holdsBack(const QByteArray &path)
{
    simulator::MisbehaviourRule rule;
    rule.path = path;
    rule.delivery.hang = true;
    simulator.misbehaviour().add(rule);
}

void StoryGitHub::answers()
{
    recovers();
    simulator.answerHanging();
}

void StoryGitHub::recovers()
{
    simulator.misbehaviour().clear();
}

qsizetype StoryGitHub::requestCount(const QByteArray &path) const
{
    const auto &entries = simulator.log().entries();
    return std::count_if(
        entries.begin(), entries.end(), [&path](const auto &entry) { return entry.request.path == path; });
}

bool StoryGitHub::isAnswering() const
{
    const auto &entries = simulator.log().entries();
    const auto open = std::count_if(entries.begin(), entries.end(), [](const auto &entry) { return entry.isOpen; });
    return open > simulator.hangingCount();
}

int StoryGitHub::person(const QString &login)
{
    simulator::World &world = simulator.world();
    if (const auto known = world.ownerWithLogin(login))
        return *known;
    return world.addOwner(login, login, false);
}

int StoryGitHub::repository(const QString &nameWithOwner)
{
    simulator::World &world = simulator.world();
    if (const auto known = world.repositoryWithName(nameWithOwner))
        return *known;
    return world.addRepository(
        person(nameWithOwner.section(QLatin1Char('/'), 0, 0)), nameWithOwner.section(QLatin1Char('/'), 1));
}

} // namespace velmora::testing
