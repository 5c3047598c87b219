// SPDX-License-Identifier: MIT
#include "support/monitor_fixture.h"

#include "support/test_main.h"

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

using State = DeploymentMonitorState;

FakeGitHub::Repository repository(const QString &nodeID, const QString &name)
{
    return {nodeID, name, {{nodeID + u"1"_s, u"SUCCESS"_s, noon() - 1h}}, {}};
}

QList<FakeGitHub::Repository> twoBatches()
{
    QList<FakeGitHub::Repository> repositories;
    for (int number = 0; number < 21; ++number)
        repositories.append(repository(u"R_%1"_s.arg(number), u"alice/r%1"_s.arg(number)));
    return repositories;
}

/// Whatever the environment says about logging.
void enableWarnings(QLoggingCategory *category)
{
    category->setEnabled(QtWarningMsg, true);
}

std::exception_ptr silence()
{
    return std::make_exception_ptr(TransportError(TransportError::Kind::TimedOut, u"no answer"_s));
}

} // namespace

/// The time that requests take, and what happens meanwhile.
class DeploymentMonitorTimeTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<MonitorFixture>();
        f->connect(1, u"alice"_s).repositories = {repository(u"R_a"_s, u"alice/a"_s)};
    }
    void cleanup() { f.reset(); }

    void aRefusalWithoutATimeIsCountedFromTheRefusal()
    {
        f->build();
        f->tick();
        everyRequestTakes(70s);
        alice().graphqlFailure = FakeHTTPSession::response(403, R"({"message":"You hit a secondary rate limit"})");
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), State::rateLimited(noon(), noon() + 160s));
        f->github.clearLog();
        f->tickAfter(55s);
        QVERIFY(f->github.queries.isEmpty());
        f->tickAfter(5s);
        QCOMPARE(f->github.queries.size(), 1);
    }

    void aBackOffIsCountedFromTheFailure()
    {
        f->build();
        f->tick();
        everyRequestTakes(60s);
        alice().transportFailure = silence();
        f->tickAfter(30s);
        f->github.clearLog();
        f->tickAfter(4s);
        QVERIFY(f->github.queries.isEmpty());
        f->tickAfter(1s);
        QCOMPARE(f->github.queries.size(), 1);
    }

    void theTimeOfARefreshIsThatOfItsEnd()
    {
        f->build();
        everyRequestTakes(20s);
        f->tick();
        QCOMPARE(f->monitor->state(), State::ready(noon() + 60s));
        QCOMPARE(f->monitor->lastRefreshedAt(), noon() + 60s);
        QCOMPARE(f->cache.payload->savedAt, noon() + 60s);
    }

    void aRefreshThatWaitedForItsTurnIsTimedByItsOwnEnd()
    {
        f->build();
        f->tick();
        const auto handler = std::exchange(f->github.session->handler, nullptr);
        f->clock.setNow(noon() + 30s);
        const auto first = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        const auto second
            = start(f->monitor->refreshAll(f->authentication.get(), f->installations.get(), f->clock.now()));
        f->clock.setNow(noon() + 90s);
        f->github.session->resume(handler);
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(f->monitor->lastRefreshedAt(), noon() + 90s);
    }

    void aPauseThatBeginsBetweenTwoBatchesHoldsTheSecond()
    {
        alice().repositories = twoBatches();
        f->build();
        f->tick();
        f->github.clearLog();
        pauseDuringTheNextAnswer(1);
        f->tickAfter(30s);
        QCOMPARE(f->github.queries.size(), 1);
        QCOMPARE(f->monitor->state(), State::rateLimited(noon(), noon() + 90s));
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->shownIDs().size(), 21);
    }

    void pointsThatAreUsedUpHoldTheNextBatch()
    {
        alice().repositories = twoBatches();
        f->build();
        f->tick();
        f->github.clearLog();
        alice().remaining = 0;
        alice().resetAt = noon() + 10min;
        f->tickAfter(30s);
        QCOMPARE(f->github.queries.size(), 1);
        QCOMPARE(f->monitor->state(), State::rateLimited(noon(), noon() + 10min));
        alice().remaining = 5000;
        f->tickAfter(10min);
        QCOMPARE(f->monitor->state().state, State::Case::Ready);
    }

    void aPauseThatBeginsBetweenTwoListsHoldsTheSecond()
    {
        f->build();
        pauseDuringTheNextAnswer(1);
        f->tick();
        QCOMPARE(f->github.restRequests, QStringList(u"alice: /user/installations"_s));
        QCOMPARE(f->monitor->state(), State::rateLimited({}, noon() + 60s));
        QCOMPARE(f->monitor->message(), QString());
    }

    void aPauseThatBeginsBetweenTwoListsTakesNothingThatIsKnown()
    {
        f->build();
        f->tick();
        f->github.clearLog();
        pauseDuringTheNextAnswer(1);
        f->tickAfter(1h);
        QCOMPARE(f->github.restRequests.size(), 1);
        QCOMPARE(f->installations->repositories().size(), 1);
        QCOMPARE(f->shownIDs(), QStringList(u"R_a1"_s));
    }

    void aPauseOfTheNextIdentityHoldsItsRequests()
    {
        f->connect(2, u"bob"_s).repositories = {repository(u"R_b"_s, u"bob/b"_s)};
        f->build();
        f->tick();
        f->github.clearLog();
        pauseDuringTheNextAnswer(2);
        f->tickAfter(30s);
        QCOMPARE(f->github.queries, QStringList(u"alice: R_a"_s));
    }

    void disconnectedDoesNotBlinkWhenTheInstallationsAreAskedForAgain()
    {
        alice().repositories.clear();
        f->build();
        f->tick();
        QCOMPARE(f->monitor->state(), State::disconnected(MissingStep::Installation));
        f->github.clearLog();
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        f->tickAfter(1h);
        QCOMPARE(f->github.restRequests.size(), 1);
        QCOMPARE(changes.size(), 0);
    }

    void aRefreshByHandWithoutAnAccountChangesNothing()
    {
        f = std::make_unique<MonitorFixture>();
        f->build();
        f->tick();
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        f->refreshAll();
        QCOMPARE(f->monitor->state(), State::disconnected(MissingStep::Account));
        QCOMPARE(changes.size(), 0);
    }

    void anExceptionThatNobodyExpectsDoesNotEndThePolling()
    {
        const auto before = QLoggingCategory::installFilter(&enableWarnings);
        QTest::ignoreMessage(QtWarningMsg, "The start of polling failed: out of order");
        QTest::ignoreMessage(QtWarningMsg, "A tick failed: out of order");
        f->cache.failedLoads = 2;
        f->build();
        f->monitor->start(f->authentication.get(), f->installations.get());
        f->clock.advance(5s);
        QVERIFY(f->github.queries.isEmpty());
        QVERIFY(!f->monitor->isRefreshing());
        QLoggingCategory::installFilter(before);
        f->clock.advance(5s);
        QCOMPARE(f->github.queries.size(), 1);
        QCOMPARE(f->monitor->state().state, State::Case::Ready);
    }

    void anExceptionThatNobodyExpectsIsTheFailureOfItsIdentity()
    {
        f->connect(2, u"bob"_s).repositories = {repository(u"R_b"_s, u"bob/b"_s)};
        f->build();
        f->tick();
        alice().transportFailure = std::make_exception_ptr(std::logic_error("out of order"));
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), State::stale(noon()));
        QCOMPARE(f->monitor->message(), u"alice: out of order"_s);
        alice().transportFailure = nullptr;
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), State::ready(noon() + 60s));
    }

    void aRefreshByHandKeepsWhatWasSavedOfWhoeverFails()
    {
        save(noon() - 10min);
        f->connect(2, u"bob"_s).transportFailure = silence();
        f->build();
        f->refreshAll();
        QCOMPARE(f->shownIDs(), QStringList({u"R_a1"_s, u"saved"_s}));
        QCOMPARE(f->cache.payload->deployments.size(), 2);
        QCOMPARE(f->monitor->state(), State::stale(noon() - 10min));
    }

    void nobodyIsAskedBeforeWhatWasSavedIsShown()
    {
        save(noon() - 10min);
        f->cache.gate.emplace();
        f->build();
        QStringList shownFirst;
        f->github.meanwhile = [&](const QString &) {
            if (shownFirst.isEmpty())
                shownFirst = f->shownIDs();
        };
        f->monitor->start(f->authentication.get(), f->installations.get(), DeploymentMonitor::FirstTick::AtOnce);
        f->tick();
        QVERIFY(f->github.session->requests.isEmpty());
        f->cache.gate->resolve();
        QCOMPARE(shownFirst, QStringList(u"saved"_s));
        QCOMPARE(f->shownIDs(), QStringList(u"R_a1"_s));
    }

    void withoutANetworkTheAgeOfWhatIsShownIsThatOfWhatWasSaved()
    {
        save(noon() - 2h);
        alice().transportFailure = silence();
        f->build();
        f->tick();
        QCOMPARE(f->monitor->state(), State::stale(noon() - 2h));
        QVERIFY(!f->monitor->lastRefreshedAt());
    }

    void duringAPauseTheAgeOfWhatIsShownIsThatOfWhatWasSaved()
    {
        save(noon() - 2h);
        f->ledger->recordRefusal(1, {}, noon());
        f->build();
        f->tick();
        QCOMPARE(f->monitor->state(), State::rateLimited(noon() - 2h, noon() + 60s));
    }

    void whatWasSavedByAClockThatWasFastIsNotFromTheFuture()
    {
        save(noon() + 2h);
        alice().transportFailure = silence();
        f->build();
        f->tick();
        QCOMPARE(f->monitor->state(), State::stale(noon()));
    }

    void withoutAnAccountWhatWasSavedGoes()
    {
        f = std::make_unique<MonitorFixture>();
        save(noon() - 10min);
        f->build();
        f->monitor->start(f->authentication.get(), f->installations.get(), DeploymentMonitor::FirstTick::AtOnce);
        QCOMPARE(f->monitor->state(), State::disconnected(MissingStep::Account));
        QVERIFY(f->cache.payload->deployments.isEmpty());
    }

private:
    FakeGitHub::Identity &alice() { return f->github.identities[u"alice"_s]; }

    /// One deployment of a repository that only bob reaches.
    void save(Instant savedAt)
    {
        auto saved = makeSnapshot(u"saved"_s, DeploymentState::Success, noon() - 2h);
        saved.repositoryNodeID = u"R_b"_s;
        saved.repositoryName = u"bob/b"_s;
        f->cache.payload = DeploymentCachePayload{{saved}, savedAt};
    }

    void everyRequestTakes(std::chrono::seconds duration)
    {
        f->github.meanwhile = [this, duration](const QString &) {
            f->clock.setNow(f->clock.now() + duration);
        };
    }

    void pauseDuringTheNextAnswer(qint64 identityID)
    {
        f->github.meanwhile = [this, identityID](const QString &) {
            f->ledger->recordRefusal(identityID, {}, f->clock.now());
            f->github.meanwhile = nullptr;
        };
    }

    std::unique_ptr<MonitorFixture> f;
};

VELMORA_TEST(DeploymentMonitorTimeTest)
#include "deployment_monitor_time_test.moc"
