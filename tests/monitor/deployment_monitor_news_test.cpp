// SPDX-License-Identifier: MIT
#include "support/monitor_fixture.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

FakeGitHub::Deployment deployment(const QString &id, const QString &state)
{
    return {id, state, noon() - 1h};
}

FakeGitHub::Repository repository(
    const QString &nodeID, const QString &name, const QList<FakeGitHub::Deployment> &deployments)
{
    return {nodeID, name, deployments, {}};
}

} // namespace

/// Which results are announced, and which are history.
class DeploymentMonitorNewsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<MonitorFixture>();
        f->connect(1, u"alice"_s).repositories
            = {repository(u"R_a"_s, u"alice/a"_s, {deployment(u"a1"_s, u"SUCCESS"_s)})};
    }
    void cleanup() { f.reset(); }

    void theHistoryOfAnInstallationThatComesLaterIsNotNews()
    {
        f->connect(2, u"bob"_s);
        f->build();
        f->tick();
        bob().repositories = {repository(u"R_b"_s, u"bob/b"_s, {deployment(u"b1"_s, u"FAILURE"_s)})};
        f->tickAfter(1h);
        QVERIFY(f->shownIDs().contains(u"b1"_s));
        QCOMPARE(f->notifier.announced, QStringList());
        bob().repositories[0].deployments.append(deployment(u"b2"_s, u"FAILURE"_s));
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced, QStringList(u"failure b2"_s));
    }

    void whatHappenedWhileARepositoryWasSwitchedOffIsNotNews()
    {
        alice().repositories.append(repository(u"R_b"_s, u"alice/b"_s, {}));
        f->build();
        f->tick();
        f->installations->setRepository(u"R_b"_s, false);
        f->tickAfter(30s);
        alice().repositories[1].deployments.append(deployment(u"b1"_s, u"FAILURE"_s));
        f->installations->setRepository(u"R_b"_s, true);
        f->tickAfter(30s);
        QVERIFY(f->shownIDs().contains(u"b1"_s));
        QCOMPARE(f->notifier.announced, QStringList());
        alice().repositories[1].deployments.append(deployment(u"b2"_s, u"FAILURE"_s));
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced, QStringList(u"failure b2"_s));
    }

    void whatHappenedWhileEverythingWasSwitchedOffIsNotNews()
    {
        f->build();
        f->tick();
        f->installations->setAllRepositories(false);
        f->tickAfter(30s);
        alice().repositories[0].deployments.append(deployment(u"a2"_s, u"FAILURE"_s));
        f->installations->setAllRepositories(true);
        f->tickAfter(30s);
        QVERIFY(f->shownIDs().contains(u"a2"_s));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void theEndOfWhatWasUnderWayIsNewsEvenAtTheFirstFetchOfItsRepository()
    {
        save({u"b1"_s}, noon() - 20h);
        f->connect(2, u"bob"_s).transportFailure = noNetwork();
        f->build();
        f->tick();
        QVERIFY(f->shownIDs().contains(u"b1"_s));
        bob().transportFailure = nullptr;
        bob().repositories = {repository(u"R_b"_s, u"bob/b"_s,
            {deployment(u"b0"_s, u"FAILURE"_s), deployment(u"b1"_s, u"FAILURE"_s), deployment(u"b2"_s, u"SUCCESS"_s)})};
        f->tickAfter(5s);
        QCOMPARE(f->notifier.announced, QStringList(u"failure b1"_s));
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced.size(), 1);
    }

    void whatHappenedWhileAnIdentityCouldNotBeReachedIsNews()
    {
        f->connect(2, u"bob"_s).repositories = {repository(u"R_b"_s, u"bob/b"_s, {deployment(u"b1"_s, u"SUCCESS"_s)})};
        f->build();
        f->tick();
        bob().transportFailure = noNetwork();
        f->tickAfter(1h);
        QVERIFY(!f->installations->hasLoaded(2));
        bob().transportFailure = nullptr;
        bob().repositories[0].deployments.append(deployment(u"b2"_s, u"FAILURE"_s));
        f->tickAfter(5min);
        QCOMPARE(f->notifier.announced, QStringList(u"failure b2"_s));
    }

    void theEndOfWhatTheVelmoraBeforeSawUnderWayIsNews()
    {
        save({u"a1"_s, u"a2"_s}, noon() - 10s);
        alice().repositories[0].deployments = {deployment(u"a0"_s, u"FAILURE"_s), deployment(u"a1"_s, u"FAILURE"_s),
            deployment(u"a2"_s, u"IN_PROGRESS"_s)};
        f->build();
        f->tick();
        QCOMPARE(f->notifier.announced, QStringList(u"failure a1"_s));
        QCOMPARE(
            f->defaults.stringList(u"deployments.notifiedFailures"_s), QStringList({u"a0:failure"_s, u"a1:failure"_s}));
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced.size(), 1);
    }

    void whatIsNewWaitsForItsAnnouncementBeforeTheListIsSaved()
    {
        alice().repositories[0].deployments = {deployment(u"a1"_s, u"IN_PROGRESS"_s)};
        f->build();
        f->tick();
        alice().repositories[0].deployments = {deployment(u"a1"_s, u"FAILURE"_s)};
        f->notifier.busy.emplace();
        QStringList waiting;
        f->cache.onSave = [&] {
            waiting = f->defaults.stringList(u"deployments.waitingResults"_s);
        };
        f->tickAfter(30s);
        QCOMPARE(waiting, QStringList(u"a1:failure"_s));
        const auto busy = *std::exchange(f->notifier.busy, std::nullopt);
        busy.resolve();
        QCOMPARE(f->notifier.announced, QStringList(u"failure a1"_s));
    }

    void theEndOfWhatWasUnderWayLongAgoIsHistory()
    {
        save({u"a1"_s}, noon() - 1h);
        alice().repositories[0].deployments = {deployment(u"a1"_s, u"FAILURE"_s)};
        f->build();
        f->tick();
        QCOMPARE(f->shownIDs(), QStringList(u"a1"_s));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void aRepositoryThatIsSwitchedOffWhileItIsAskedForIsNeitherShownNorAnnounced_data()
    {
        QTest::addColumn<std::chrono::seconds>("later");
        QTest::newRow("with what is under way") << 5s;
        QTest::newRow("with everything") << 30s;
    }
    void aRepositoryThatIsSwitchedOffWhileItIsAskedForIsNeitherShownNorAnnounced()
    {
        QFETCH(std::chrono::seconds, later);
        alice().repositories.append(repository(u"R_b"_s, u"alice/b"_s, {deployment(u"b1"_s, u"IN_PROGRESS"_s)}));
        f->build();
        f->tick();
        alice().repositories[1].deployments = {deployment(u"b1"_s, u"FAILURE"_s)};
        f->github.meanwhile = [this](const QString &) {
            f->installations->setRepository(u"R_b"_s, false);
        };
        f->tickAfter(later);
        QCOMPARE(f->shownIDs(), QStringList(u"a1"_s));
        QCOMPARE(f->cache.payload->deployments.size(), 1);
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void whatGitHubTellsNothingOfForAReasonStaysAndTheReasonIsSaidOnce()
    {
        alice().repositories.append(repository(u"R_b"_s, u"alice/b"_s, {deployment(u"b1"_s, u"SUCCESS"_s)}));
        f->build();
        f->tick();
        alice().repositories[1].graphqlError = u"FORBIDDEN"_s;
        alice().repositories[0].deployments = {deployment(u"a2"_s, u"SUCCESS"_s)};
        f->tickAfter(30s);
        QCOMPARE(f->shownIDs(), QStringList({u"b1"_s, u"a2"_s}));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(f->clock.now()));
        QCOMPARE(f->monitor->message(),
            u"alice: alice/b: Velmora may not read its deployments. Allow “Deployments: read-only” where the App is "
            "installed on GitHub."_s);
        alice().repositories[1].graphqlError.clear();
        alice().repositories[1].deployments = {deployment(u"b1"_s, u"SUCCESS"_s), deployment(u"b2"_s, u"FAILURE"_s)};
        f->tickAfter(30s);
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->notifier.announced, QStringList({u"success a2"_s, u"failure b2"_s}));
    }

    void whatGitHubToldNothingOfAtFirstBringsItsHistoryAlong()
    {
        alice().repositories.append(repository(u"R_b"_s, u"alice/b"_s, {deployment(u"b1"_s, u"FAILURE"_s)}));
        alice().repositories[1].graphqlError = u"NOT_FOUND"_s;
        f->build();
        f->tick();
        alice().repositories[1].graphqlError.clear();
        f->tickAfter(30s);
        QVERIFY(f->shownIDs().contains(u"b1"_s));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void anAccountThatIsRemovedBeforeItsTurnIsNotAsked()
    {
        connectBob();
        f->github.clearLog();
        f->github.meanwhile = [this](const QString &) {
            removeBob();
        };
        f->tickAfter(30s);
        QCOMPARE(f->github.queries, QStringList(u"alice: R_a"_s));
        QCOMPARE(f->shownIDs(), QStringList(u"a1"_s));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void anAccountThatIsRemovedWhileItIsAskedIsNeitherShownNorAnnounced()
    {
        connectBob();
        f->github.meanwhile = [this](const QString &token) {
            if (token == u"bob"_s)
                removeBob();
        };
        f->tickAfter(30s);
        QCOMPARE(f->shownIDs(), QStringList(u"a1"_s));
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void theRequestsOfAnAccountEndWithIt()
    {
        connectBob();
        bob().repositories.clear();
        for (int number = 0; number < 21; ++number)
            bob().repositories.append(repository(u"R_%1"_s.arg(number), u"bob/r%1"_s.arg(number), {}));
        f->tickAfter(1h);
        f->github.clearLog();
        f->github.meanwhile = [this](const QString &token) {
            if (token == u"bob"_s)
                removeBob();
        };
        f->tickAfter(30s);
        QCOMPARE(f->github.queries.size(), 2);
    }

private:
    FakeGitHub::Identity &alice() { return f->github.identities[u"alice"_s]; }
    FakeGitHub::Identity &bob() { return f->github.identities[u"bob"_s]; }

    static std::exception_ptr noNetwork()
    {
        return std::make_exception_ptr(TransportError(TransportError::Kind::Network, u"no network"_s));
    }

    /// Deployments under way, each in the repository named by its first letter.
    void save(const QStringList &ids, Instant savedAt)
    {
        DeploymentCachePayload payload;
        payload.savedAt = savedAt;
        for (const QString &id : ids) {
            auto saved = makeSnapshot(id, DeploymentState::InProgress, noon() - 2h);
            saved.repositoryNodeID = u"R_"_s + id.left(1);
            saved.repositoryName = (id.startsWith(u'a') ? u"alice/"_s : u"bob/"_s) + id.left(1);
            payload.deployments.append(saved);
        }
        f->cache.payload = payload;
    }

    /// With a deployment that was under way when it was last looked at, and has failed since.
    void connectBob()
    {
        f->connect(2, u"bob"_s).repositories
            = {repository(u"R_b"_s, u"bob/b"_s, {deployment(u"b1"_s, u"IN_PROGRESS"_s)})};
        f->build();
        f->monitor->start(f->authentication.get(), f->installations.get());
        f->tick();
        bob().repositories[0].deployments = {deployment(u"b1"_s, u"FAILURE"_s)};
    }
    void removeBob()
    {
        f->github.meanwhile = nullptr;
        std::ignore = start(f->authentication->remove(2));
    }

    std::unique_ptr<MonitorFixture> f;
};

VELMORA_TEST(DeploymentMonitorNewsTest)
#include "deployment_monitor_news_test.moc"
