// SPDX-License-Identifier: MIT
#include "simulator/demo_world.h"

#include "simulator/script.h"

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr Milliseconds kMinute = 60'000;
constexpr Milliseconds kHour = 60 * kMinute;

struct Group {
    QString login;
    QString name;
    bool isOrganization;
    QStringList repositories;
};

QList<Group> groups()
{
    return {
        {u"mira-oakes"_s, u"Mira Oakes"_s, false, {u"dotfiles"_s, u"trail-notes"_s, u"sourdough-log"_s}},
        {u"tobias-renn"_s, u"Tobias Renn"_s, false, {u"chess-clock"_s, u"radio-garden-map"_s}},
        {u"yuna-castellan"_s, u"Yuna Castellan"_s, false, {u"watercolour-shop"_s, u"portfolio"_s}},
        {u"harbourlight"_s, u"Harbourlight"_s, true,
            {u"web"_s, u"api"_s, u"checkout"_s, u"identity"_s, u"search-indexer"_s, u"mail-relay"_s, u"status-page"_s,
                u"infrastructure"_s, u"mobile-gateway"_s}},
        {u"pinecrest-labs"_s, u"Pinecrest Labs"_s, true,
            {u"sensor-hub"_s, u"field-app"_s, u"telemetry-store"_s, u"firmware-portal"_s, u"maps-tiles"_s, u"docs"_s}},
        {u"quillworks"_s, u"Quillworks"_s, true,
            {u"editor"_s, u"sync-server"_s, u"billing"_s, u"landing"_s, u"templates"_s, u"import-service"_s}},
        {u"nordlys-energi"_s, u"Nordlys Energi"_s, true, {u"grid-forecast"_s, u"meter-portal"_s}},
    };
}

void addGroups(World &world, Random &random)
{
    static const QList<QString> languages{u"TypeScript"_s, u"Go"_s, u"Ruby"_s, u"Rust"_s, u"Python"_s, u"C++"_s};
    for (const Group &group : groups()) {
        const int owner = world.addOwner(group.login, group.name, group.isOrganization);
        for (const QString &name : group.repositories) {
            Repository &repository = world.change(world.addRepository(owner, name));
            repository.isPrivate = random.chance(group.isOrganization ? 70 : 20);
            repository.language = random.pick(languages);
            repository.description = u"%1 of %2"_s.arg(name, group.name);
        }
    }
}

void addInstallations(World &world)
{
    // The owners have the order of groups(): three users, then the organisations, some of which several users see.
    const QList<QSet<int>> whoSees{{0}, {1}, {2}, {0, 1}, {1}, {0, 2}, {2}};
    for (int owner = 0; owner < whoSees.size(); ++owner) {
        QList<int> repositories;
        for (int i = 0; i < world.repositories().size(); ++i) {
            if (world.repositories()[i].owner == owner)
                repositories.append(i);
        }
        const int added = world.addInstallation(owner, whoSees[owner], repositories);
        world.changeInstallation(added).selectsRepositories = owner % 3 == 1;
    }
}

struct Moment {
    int repository;
    Milliseconds createdAt;
};

// When and where deployments were created, oldest first: many in a few repositories, few in the others.
QList<Moment> moments(const World &world, Random &random, Milliseconds now)
{
    QList<Moment> moments;
    for (int i = 0; i < world.repositories().size(); ++i) {
        const qint64 lately = i % 6 == 0 ? random.between(24, 32) : random.between(0, 6);
        for (qint64 n = 0; n < lately; ++n)
            moments.append({i, now - random.between(3 * kMinute, 24 * kHour)});
        const qint64 before = random.between(1, 6);
        for (qint64 n = 0; n < before; ++n)
            moments.append({i, now - random.between(25 * kHour, 20 * 24 * kHour)});
    }
    std::stable_sort(
        moments.begin(), moments.end(), [](const Moment &a, const Moment &b) { return a.createdAt < b.createdAt; });
    return moments;
}

void playOut(World &world, Random &random, const Moment &moment, const QUrl &web)
{
    const Script script = makeScript(random, world, moment.repository, web);
    const QString id = beginDeployment(world, script, moment.createdAt);
    Milliseconds at = moment.createdAt;
    for (const Step &step : script.steps)
        at += step.after / 4; // short, so that even the latest deployment has ended by now
    applyStep(world, script, id, script.steps.last(), at);
}

// Unusual cases that occur on GitHub: a review that is never given, an abandoned pending deployment, one without a
// status, a status for another environment than the deployment's, and a preview that was torn down.
void addOddities(World &world, Random &random, Milliseconds now, const QUrl &web)
{
    const auto begin = [&](int repository, const QString &environment, Milliseconds age) {
        Script script = makeScript(random, world, repository, web);
        script.environment = environment;
        return std::pair(script, beginDeployment(world, script, now - age));
    };
    const auto [stuck, stuckID] = begin(7, u"production"_s, 24 * 60 * kMinute - 3 * kHour);
    applyStep(world, stuck, stuckID, {0, u"WAITING"_s, u"Waiting for a review"_s}, now - 20 * kHour);
    const auto [left, leftID] = begin(8, u"staging"_s, 5 * kHour);
    applyStep(world, left, leftID, {0, u"PENDING"_s, std::nullopt}, now - 5 * kHour);
    world.changeDeployment(8, leftID)->state = u"ABANDONED"_s;
    const auto [bare, bareID] = begin(9, u"preview-104"_s, 2 * kHour);
    world.changeDeployment(9, bareID)->state = u"ABANDONED"_s;
    auto [moved, movedID] = begin(10, u"ci"_s, 4 * kHour);
    moved.environment = u"production"_s;
    applyStep(world, moved, movedID, {0, u"SUCCESS"_s, u"Promoted"_s}, now - 3 * kHour);
    world.changeDeployment(10, movedID)->latestEnvironment = u"production"_s;
    const auto [gone, goneID] = begin(11, u"preview-117"_s, 9 * kHour);
    applyStep(world, gone, goneID, {0, u"INACTIVE"_s, u""_s}, now - 8 * kHour);
    world.changeDeployment(11, goneID)->state = u"DESTROYED"_s;
}

// addOddities() may add a deployment that is older than others of its repository.
void orderByAge(World &world)
{
    for (int i = 0; i < world.repositories().size(); ++i) {
        auto &deployments = world.change(i).deployments;
        std::stable_sort(deployments.begin(), deployments.end(),
            [](const Deployment &a, const Deployment &b) { return a.createdAt > b.createdAt; });
    }
}

} // namespace

World demoWorld(Random &random, Milliseconds now, const QUrl &web)
{
    World world;
    addGroups(world, random);
    addInstallations(world);
    // REST knows one repository by the older form of its identifier, as GitHub's does for some.
    Repository &old = world.change(1);
    old.legacyNodeID = QString::fromLatin1(("010:Repository" + QByteArray::number(old.id)).toBase64());
    for (const Moment &moment : moments(world, random, now))
        playOut(world, random, moment, web);
    addOddities(world, random, now, web);
    orderByAge(world);
    return world;
}

World artificialWorld(const WorldSize &size, Milliseconds now, const QUrl &web)
{
    World world;
    Random random(1);
    QSet<int> identities;
    for (int i = 1; i <= std::max(1, size.identities); ++i)
        identities.insert(world.addOwner(u"user-%1"_s.arg(i), u"User %1"_s.arg(i), false));
    QList<int> repositories;
    for (int i = 1; i <= size.repositories; ++i)
        repositories.append(world.addRepository(0, u"repository-%1"_s.arg(i, 4, 10, '0'_L1)));
    for (int i = 0; i < size.installations; ++i)
        world.addInstallation(0, identities, i == 0 ? repositories : QList<int>());
    for (const int repository : repositories) {
        for (int n = size.deployments; n > 0; --n)
            playOut(world, random, {repository, now - n * 10 * kMinute - repository * 1'000}, web);
    }
    return world;
}

} // namespace velmora::simulator
