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

using Case = DeploymentMonitorState::Case;

FakeGitHub::Repository repository(const QString &login)
{
    FakeGitHub::Repository result;
    result.nodeID = QStringLiteral("R_") + login;
    result.name = login + QStringLiteral("/web");
    result.deployments = {{login + QStringLiteral("1"), QStringLiteral("SUCCESS"), noon() - 1h}};
    return result;
}

std::exception_ptr brokenConnection()
{
    return std::make_exception_ptr(TransportError(TransportError::Kind::Network, QStringLiteral("broken off")));
}

} // namespace

class DeploymentMonitorHoldTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_answer = nullptr;
        f = std::make_unique<MonitorFixture>();
        f->connect(1, QStringLiteral("alice")).repositories = {repository(QStringLiteral("alice"))};
    }
    void cleanup() { f.reset(); }

    void aTickDoesNothingUntilTheRelease()
    {
        f->build();
        f->monitor->hold();
        f->tick();
        f->tickAfter(2h);
        QVERIFY(requests().isEmpty());
        QCOMPARE(f->monitor->state().state, Case::Loading);
        f->monitor->release();
        f->tick();
        QCOMPARE(f->monitor->state().state, Case::Ready);
    }

    void aPersonWhoAsksIsServed()
    {
        f->build();
        f->tick();
        f->github.clearLog();
        f->monitor->hold();
        f->refreshAll();
        QCOMPARE(f->github.queries, QStringList{QStringLiteral("alice: R_alice")});
        QCOMPARE(f->monitor->state().state, Case::Ready);
    }

    void aRefreshByHandThatSucceedsCounts()
    {
        f->build();
        f->tick();
        f->clock.setNow(f->clock.now() + 9h);
        f->monitor->hold();
        f->refreshAll();
        QCOMPARE(f->monitor->lastRefreshedAt(), f->clock.now());
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(f->clock.now()));
    }

    void theFirstRefreshByHandDuringAHoldEndsTheLoading()
    {
        f->build();
        f->monitor->hold();
        f->refreshAll();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(f->clock.now()));
    }

    void aRequestThatBreaksOffIsNoFailureAndIsMadeAgain()
    {
        f->build();
        f->tick();
        const auto before = f->monitor->lastRefreshedAt();
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        breakOffInTheMiddle();
        f->tickAfter(31s);
        QCOMPARE(changes.count(), 0);
        QCOMPARE(f->monitor->state().state, Case::Ready);
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->monitor->lastRefreshedAt(), before);
        QVERIFY(!f->monitor->isRefreshing());
        mend();
        awaitValue(f->monitor->retryNow(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->github.queries, QStringList{QStringLiteral("alice: R_alice")});
        QCOMPARE(f->monitor->lastRefreshedAt(), f->clock.now());
    }

    void installationsThatBreakOffAreNoFailureAndAreFetchedAgain()
    {
        f->build();
        f->tick();
        breakOffInTheMiddle();
        f->tickAfter(1h);
        QCOMPARE(f->monitor->state().state, Case::Ready);
        QCOMPARE(f->monitor->message(), QString());
        mend();
        f->tick();
        QVERIFY(!f->github.restRequests.isEmpty());
        QCOMPARE(f->monitor->state().state, Case::Ready);
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->monitor->lastRefreshedAt(), f->clock.now());
    }

    void whatOneIdentityLostIsFetchedAgainEvenWhenAnotherSucceeded()
    {
        f->connect(2, QStringLiteral("bob")).repositories = {repository(QStringLiteral("bob"))};
        f->build();
        f->tick();
        f->clock.setNow(f->clock.now() + 31s);
        f->github.identities[QStringLiteral("bob")].transportFailure = brokenConnection();
        f->monitor->hold();
        f->refreshAll();
        QCOMPARE(f->monitor->state().state, Case::Ready);
        QCOMPARE(f->monitor->message(), QString());
        f->github.identities[QStringLiteral("bob")].transportFailure = nullptr;
        mend();
        f->tick();
        QVERIFY(f->github.queries.contains(QStringLiteral("bob: R_bob")));
    }

    void anAnswerOfGitHubIsAFailureAllTheSame()
    {
        f->build();
        f->tick();
        f->github.identities[QStringLiteral("alice")].graphqlFailure = FakeHTTPSession::response(500, "{}");
        f->monitor->hold();
        f->refreshAll();
        QCOMPARE(f->monitor->state().state, Case::Stale);
    }

    void withoutAHoldABrokenConnectionIsAFailure()
    {
        f->build();
        f->tick();
        f->github.identities[QStringLiteral("alice")].transportFailure = brokenConnection();
        f->tickAfter(31s);
        QCOMPARE(f->monitor->state().state, Case::Stale);
    }

private:
    [[nodiscard]] QStringList requests() const { return f->github.queries + f->github.restRequests; }

    /// The machine falls asleep while the next request is on its way.
    void breakOffInTheMiddle()
    {
        m_answer = f->github.session->handler;
        f->github.session->handler = [this](const HTTPRequest &) -> HTTPResponse {
            f->monitor->hold();
            std::rethrow_exception(brokenConnection());
        };
    }

    void mend()
    {
        if (m_answer)
            f->github.session->handler = m_answer;
        f->github.clearLog();
        f->monitor->release();
    }

    std::unique_ptr<MonitorFixture> f;
    FakeHTTPSession::Handler m_answer;
};

VELMORA_TEST(DeploymentMonitorHoldTest)
#include "deployment_monitor_hold_test.moc"
