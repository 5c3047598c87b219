// SPDX-License-Identifier: MIT
#include "cli/deployment_wait.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using Currency = DeploymentWait::Currency;
using Result = DeploymentWait::Result;
using State = DeploymentMonitorState;

namespace
{

/// A deployment that was created some time after noon.
DeploymentSnapshot created(const char *id, DeploymentState state, std::chrono::minutes after = 0min)
{
    return makeSnapshot(QString::fromUtf8(id), state, noon() + after);
}

/// A report in which every identity has answered.
MonitorReport reportOf(const DeploymentList &deployments, const State &state = State::ready(noon()))
{
    MonitorReport report;
    report.state = state;
    report.deployments = deployments;
    return report;
}

/// A wait for a deployment of acme/web.
DeploymentWait waitFor(const char *environment = "", const char *commit = "")
{
    return DeploymentWait({QStringLiteral("Acme/Web"), QString::fromUtf8(environment), QString::fromUtf8(commit)},
        Currency::OfAllIdentities);
}

QString idOf(const DeploymentWait &wait)
{
    return wait.deployment() ? wait.deployment()->id : QString();
}

} // namespace

class DeploymentWaitTest : public QObject
{
    Q_OBJECT

private:
    const QString m_old = QStringLiteral("old");
    const QString m_new = QStringLiteral("new");

private Q_SLOTS:
    void whatIsHiddenInWindowsIsWaitedForLikeAnything()
    {
        DeploymentWait wait = waitFor();
        MonitorReport report = reportOf({});
        report.hidden = {created("hidden", DeploymentState::InProgress)};
        QVERIFY(!wait.resultAfter(report));
        QCOMPARE(idOf(wait), QStringLiteral("hidden"));
        report.hidden = {created("hidden", DeploymentState::Success)};
        QCOMPARE(wait.resultAfter(report), std::optional(Result::Succeeded));
    }

    void whatIsUnderWayAtTheStartIsFollowedToItsEnd_data()
    {
        QTest::addColumn<DeploymentState>("last");
        QTest::addColumn<Result>("result");
        QTest::newRow("success") << DeploymentState::Success << Result::Succeeded;
        QTest::newRow("failure") << DeploymentState::Failure << Result::Failed;
        QTest::newRow("error") << DeploymentState::Error << Result::Failed;
        QTest::newRow("inactive") << DeploymentState::Inactive << Result::Failed;
    }

    void whatIsUnderWayAtTheStartIsFollowedToItsEnd()
    {
        QFETCH(DeploymentState, last);
        QFETCH(Result, result);
        DeploymentWait wait = waitFor();
        for (const auto state : {DeploymentState::Queued, DeploymentState::Pending, DeploymentState::Waiting,
                 DeploymentState::InProgress, DeploymentState::Unknown}) {
            QVERIFY(!wait.resultAfter(reportOf({created("old", state)})));
            QCOMPARE(wait.deployment()->state, state);
        }
        QCOMPARE(wait.resultAfter(reportOf({created("old", last)})), std::optional(result));
        QCOMPARE(wait.deployment()->state, last);
    }

    void whatHasEndedAtTheStartIsPassedOverForTheNext_data()
    {
        QTest::addColumn<DeploymentState>("first");
        QTest::newRow("success") << DeploymentState::Success;
        QTest::newRow("failure") << DeploymentState::Failure;
        QTest::newRow("unknown") << DeploymentState::Unknown;
    }

    void whatHasEndedAtTheStartIsPassedOverForTheNext()
    {
        QFETCH(DeploymentState, first);
        DeploymentWait wait = waitFor();
        const auto old = created("old", first);
        QVERIFY(!wait.resultAfter(reportOf({old})));
        QVERIFY(!wait.resultAfter(reportOf({old})));
        QVERIFY(!wait.deployment());
        QVERIFY(!wait.resultAfter(reportOf({created("new", DeploymentState::Queued, 1min), old})));
        QCOMPARE(idOf(wait), m_new);
        QCOMPARE(wait.resultAfter(reportOf({created("new", DeploymentState::Success, 1min), old})),
            std::optional(Result::Succeeded));
    }

    void theNextMayHaveEndedWhenItIsSeenFirst()
    {
        DeploymentWait wait = waitFor();
        QVERIFY(!wait.resultAfter(reportOf({})));
        QCOMPARE(wait.resultAfter(reportOf({created("new", DeploymentState::Failure)})), std::optional(Result::Failed));
    }

    void ofSeveralTheOneThatWasCreatedLastIsChosen()
    {
        DeploymentWait started = waitFor();
        QVERIFY(!started.resultAfter(
            reportOf({created("old", DeploymentState::InProgress), created("new", DeploymentState::Waiting, 1min)})));
        QCOMPARE(idOf(started), m_new);
        DeploymentWait next = waitFor();
        QVERIFY(!next.resultAfter(reportOf({})));
        QVERIFY(!next.resultAfter(
            reportOf({created("new", DeploymentState::Waiting, 1min), created("old", DeploymentState::InProgress)})));
        QCOMPARE(idOf(next), m_new);
    }

    void anEarlierOneThatIsStillUnderWayIsNotTheNext()
    {
        DeploymentWait wait = waitFor();
        const auto failed = created("failed", DeploymentState::Failure, 1min);
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress), failed})));
        QVERIFY(!wait.resultAfter(reportOf({failed, created("old", DeploymentState::Success)})));
        QVERIFY(!wait.resultAfter(reportOf({failed, created("listed again", DeploymentState::Success)})));
        QVERIFY(!wait.deployment());
    }

    void whatWasChosenIsFollowedWhateverComesAfterIt()
    {
        DeploymentWait wait = waitFor();
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress)})));
        const auto later = created("new", DeploymentState::Success, 1min);
        QVERIFY(!wait.resultAfter(reportOf({later, created("old", DeploymentState::InProgress)})));
        QCOMPARE(wait.resultAfter(reportOf({later, created("old", DeploymentState::Failure)})),
            std::optional(Result::Failed));
        QCOMPARE(idOf(wait), m_old);
    }

    void whatIsNotListedAnyMoreHasNotSucceeded()
    {
        DeploymentWait wait = waitFor();
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress)})));
        QCOMPARE(
            wait.resultAfter(reportOf({created("new", DeploymentState::Success, 1min)})), std::optional(Result::Gone));
        QCOMPARE(wait.deployment()->state, DeploymentState::InProgress);
    }

    void otherRepositoriesAndEnvironmentsAreNotAwaited()
    {
        auto other = created("other", DeploymentState::InProgress);
        other.repositoryName = QStringLiteral("acme/website");
        auto staging = created("staging", DeploymentState::InProgress);
        staging.environment = QStringLiteral("staging");
        DeploymentWait wait = waitFor("Production");
        QVERIFY(!wait.resultAfter(reportOf({other, staging})));
        QVERIFY(!wait.deployment());
        QVERIFY(!wait.resultAfter(reportOf({other, staging, created("new", DeploymentState::InProgress)})));
        QCOMPARE(idOf(wait), m_new);
    }

    void aCommitMayHaveEndedAlready()
    {
        DeploymentWait succeeded = waitFor("", "0123456789ABC");
        QCOMPARE(succeeded.resultAfter(reportOf({created("old", DeploymentState::Success)})),
            std::optional(Result::Succeeded));
        DeploymentWait failed = waitFor("production", "0123456");
        QCOMPARE(failed.resultAfter(reportOf({created("old", DeploymentState::Error)})), std::optional(Result::Failed));
    }

    void ofACommitTheNewestDeploymentCounts()
    {
        DeploymentWait wait = waitFor("", "0123456");
        QVERIFY(!wait.resultAfter(
            reportOf({created("old", DeploymentState::Failure), created("new", DeploymentState::InProgress, 1min)})));
        QCOMPARE(idOf(wait), m_new);
    }

    void otherCommitsAreNotAwaited()
    {
        auto other = created("other", DeploymentState::Success);
        other.commitOID = QStringLiteral("ffff456789abcdef0123456789abcdef01234567");
        DeploymentWait wait = waitFor("", "0123456");
        QVERIFY(!wait.resultAfter(reportOf({other})));
        QVERIFY(!wait.deployment());
        QCOMPARE(wait.resultAfter(reportOf({other, created("new", DeploymentState::Success)})),
            std::optional(Result::Succeeded));
    }

    void nothingIsChosenFromAListOfBefore_data()
    {
        QTest::addColumn<State>("state");
        QTest::newRow("loading") << State::loading(true);
        QTest::newRow("stale") << State::stale(noon());
        QTest::newRow("paused") << State::rateLimited(noon(), noon() + 1h);
        QTest::newRow("disconnected") << State::disconnected(MissingStep::Selection);
    }

    void nothingIsChosenFromAListOfBefore()
    {
        QFETCH(State, state);
        DeploymentWait wait = waitFor();
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress)}, state)));
        QVERIFY(!wait.deployment());
        // It has ended before the start.
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::Success)})));
        QVERIFY(!wait.deployment());
    }

    void inAListOfBeforeNothingIsMissedAndResultsCount()
    {
        DeploymentWait wait = waitFor();
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress)})));
        QVERIFY(!wait.resultAfter(reportOf({}, State::loading(false))));
        QVERIFY(!wait.resultAfter(reportOf({}, State::stale(noon()))));
        QCOMPARE(wait.resultAfter(reportOf({created("old", DeploymentState::Success)}, State::stale(noon()))),
            std::optional(Result::Succeeded));
    }

    void whereAnIdentityFailsAnywayTheListOfTheOthersIsCurrent()
    {
        DeploymentWait wait(AwaitedDeployments{QStringLiteral("acme/web"), {}, {}}, Currency::OfAny);
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress)}, State::loading(true))));
        QVERIFY(!wait.deployment());
        QVERIFY(!wait.resultAfter(reportOf({created("old", DeploymentState::InProgress)}, State::stale(noon()))));
        QCOMPARE(idOf(wait), m_old);
        QCOMPARE(wait.resultAfter(reportOf({}, State::rateLimited(noon(), noon()))), std::optional(Result::Gone));
    }
};

VELMORA_TEST(DeploymentWaitTest)
#include "deployment_wait_test.moc"
