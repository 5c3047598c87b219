// SPDX-License-Identifier: MIT
#include "support/monitor_fixture.h"

#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

FakeGitHub::Repository repository(const char *nodeID, const char *name, QList<FakeGitHub::Deployment> deployments)
{
    return {text(nodeID), text(name), std::move(deployments), {}};
}

FakeGitHub::Deployment deployment(const char *id, const char *state)
{
    return {text(id), text(state), noon() - 1h};
}

using Case = DeploymentMonitorState::Case;

} // namespace

/// Identities that come and go while the monitor runs.
class DeploymentMonitorSessionsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { f = std::make_unique<MonitorFixture>(); }
    void cleanup() { f.reset(); }

    void theFirstAccountIsFetchedAtOnceAndSaysThatItLoads()
    {
        run();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Account));
        haltGitHub();
        joinAlice();
        QVERIFY(f->monitor->isRefreshing());
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::loading(false));
        resumeGitHub();
        QVERIFY(waitUntil([this] { return !f->monitor->isRefreshing(); }));
        QCOMPARE(f->shownIDs(), QStringList{text("a1")});
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(f->clock.now()));
    }

    void anotherAccountIsFetchedAtOnceBesideWhatIsShown()
    {
        connectAlice();
        run();
        f->tick();
        const auto state = f->monitor->state();
        f->github.clearLog();
        joinBob();
        QCOMPARE(f->github.queries, QStringList{text("bob: R_b R_s")});
        QCOMPARE(f->monitor->state(), state);
        QCOMPARE(f->shownIDs(), (QStringList{text("a1"), text("b1"), text("s1")}));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void anAccountThatJoinsDuringARefreshFollowsIt()
    {
        connectAlice();
        run();
        haltGitHub();
        const auto tick = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        joinBob();
        resumeGitHub();
        QVERIFY(waitUntil([&] { return tick->isDone && !f->monitor->isRefreshing(); }));
        QCOMPARE(f->shownIDs(), (QStringList{text("a1"), text("b1"), text("s1")}));
    }

    void aMachineThatSleepsFetchesANewAccountWhenItWakes()
    {
        run();
        f->monitor->hold();
        joinAlice();
        QCOMPARE(f->github.session->requests.size(), 0);
        f->monitor->release();
        f->tick();
        QCOMPARE(f->shownIDs(), QStringList{text("a1")});
    }

    void nothingToMonitorLoadsWhenThereIsSomethingAgain()
    {
        connectAlice();
        run();
        f->tick();
        f->installations->setAllRepositories(false);
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Selection));
        f->installations->setAllRepositories(true);
        haltGitHub();
        const auto tick = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::loading(false));
        resumeGitHub();
        QVERIFY(waitUntil([&] { return tick->isDone; }));
        QCOMPARE(f->monitor->state().state, Case::Ready);
    }

    void aRemovedAccountsDeploymentsLeaveAtOnceWithoutARequest()
    {
        showBoth();
        const auto requests = f->github.session->requests.size();
        std::ignore = start(f->authentication->remove(2));
        QCOMPARE(f->shownIDs(), QStringList{text("a1")});
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(noon()));
        QCOMPARE(f->github.session->requests.size(), requests);
        QCOMPARE(f->cache.payload->deployments.size(), 1);
    }

    void whatAnotherAccountReachesAsWellStays()
    {
        connectAlice().repositories.append(shared());
        connectBob();
        run();
        f->tick();
        QCOMPARE(f->shownIDs(), (QStringList{text("a1"), text("s1"), text("b1")}));
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        // The shared repository was reached through the first of them.
        std::ignore = start(f->authentication->remove(1));
        QCOMPARE(f->shownIDs(), (QStringList{text("s1"), text("b1")}));
        QCOMPARE(changes.size(), 1);
        f->github.clearLog();
        f->tickAfter(30s);
        QCOMPARE(f->github.queries, QStringList{text("bob: R_b R_s")});
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void theLastAccountLeavesNothing()
    {
        connectAlice();
        run();
        f->tick();
        std::ignore = start(f->authentication->remove(1));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Account));
        QCOMPARE(f->shownIDs(), QStringList());
        QVERIFY(f->cache.payload->deployments.isEmpty());
    }

    void anAccountThatIsRemovedDuringARefreshIsForgottenAfterIt()
    {
        connectAlice();
        connectBob();
        run();
        haltGitHub();
        const auto tick = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        std::ignore = start(f->authentication->remove(2));
        resumeGitHub();
        QVERIFY(waitUntil([&] { return tick->isDone && !f->monitor->isRefreshing(); }));
        QCOMPARE(f->shownIDs(), QStringList{text("a1")});
    }

    void savedDeploymentsOfWhoeverIsRemovedLeaveOnceItIsKnownWhoseTheyAre()
    {
        showBoth();
        // The program starts again and knows only what was saved.
        f->build();
        f->github.clearLog();
        awaitValue(f->authentication->remove(2));
        awaitValue(f->monitor->forgetRemoved(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->cache.payload->deployments.size(), 1);
        QCOMPARE(f->cache.payload->deployments.first()->id, text("a1"));
        QCOMPARE(f->github.queries, QStringList());
    }

    void savedDeploymentsStayWhereNobodyCanTellWhoseTheyAre()
    {
        showBoth();
        f->build();
        f->github.identities[text("alice")].restFailure = FakeHTTPSession::response(502, "");
        awaitValue(f->authentication->remove(2));
        awaitValue(f->monitor->forgetRemoved(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->cache.payload->deployments.size(), 3);
    }

    void anAccountThatComesBackIsNotAnnouncedForWhatHappenedMeanwhile()
    {
        showBoth();
        std::ignore = start(f->authentication->remove(2));
        f->accounts.removeLast();
        connectBob();
        f->github.identities[text("bob")].repositories[0].deployments.append(deployment("b2", "FAILURE"));
        join();
        QVERIFY(f->shownIDs().contains(text("b2")));
        QCOMPARE(f->notifier.announced, QStringList());
        f->github.identities[text("bob")].repositories[0].deployments.append(deployment("b3", "FAILURE"));
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced, QStringList{text("failure b3")});
    }

    void theMonitorMayEndWhileItForgets()
    {
        showBoth();
        f->build();
        haltGitHub();
        std::ignore = start(f->authentication->remove(2));
        const auto forgetting
            = start(f->monitor->forgetRemoved(f->authentication.get(), f->installations.get(), f->clock.now()));
        QVERIFY(waitUntil([this] { return f->github.session->openRequests == 1; }));
        f->monitor.reset();
        QVERIFY(waitUntil([&] { return forgetting->isDone; }));
        QCOMPARE(f->github.session->openRequests, 0);
    }

private:
    static FakeGitHub::Repository shared() { return repository("R_s", "team/s", {deployment("s1", "FAILURE")}); }

    FakeGitHub::Identity &connectAlice()
    {
        auto &alice = f->connect(1, text("alice"));
        alice.repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        return alice;
    }
    void connectBob()
    {
        f->connect(2, text("bob")).repositories = {repository("R_b", "bob/b", {deployment("b1", "FAILURE")}), shared()};
    }

    void run()
    {
        f->build();
        f->monitor->start(f->authentication.get(), f->installations.get());
    }
    void showBoth()
    {
        connectAlice();
        connectBob();
        run();
        f->tick();
        QCOMPARE(f->shownIDs(), (QStringList{text("a1"), text("b1"), text("s1")}));
    }

    /// Accounts that another process connects arrive with the preferences.
    void join() { f->defaults.setValue(text("github.accounts"), encodeJSON(f->accounts)); }
    void joinAlice()
    {
        connectAlice();
        join();
    }
    void joinBob()
    {
        connectBob();
        join();
    }

    void haltGitHub() { m_handler = std::exchange(f->github.session->handler, nullptr); }
    void resumeGitHub() { f->github.session->resume(m_handler); }

    std::unique_ptr<MonitorFixture> f;
    FakeHTTPSession::Handler m_handler;
};

VELMORA_TEST(DeploymentMonitorSessionsTest)
#include "deployment_monitor_sessions_test.moc"
