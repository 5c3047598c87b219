// SPDX-License-Identifier: MIT
#include "month_oracle.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

const QString kLogin = u"mira"_s;
constexpr Instant kNow = Instant(std::chrono::sys_days(std::chrono::year(2026) / 5 / 4));

/// A program that has just started, and its oracle.
struct Run {
    Run() { oracle.programStarted(now); }

    /// A round in which one repository has one deployment.
    void tells(const QString &state, std::chrono::seconds age = 1min)
    {
        QList<ToldDeployment> deployments;
        if (!state.isEmpty())
            deployments.append({u"D"_s, state, now - age});
        oracle.told(kLogin, {{7, std::make_shared<const QList<ToldDeployment>>(deployments)}});
        oracle.roundEnded(kLogin, now, true);
        oracle.rested();
    }
    void restarts(MonthOracle::End end, std::chrono::seconds pause)
    {
        oracle.programEnded(end);
        now += pause;
        oracle.programStarted(now);
    }

    MonthOracle oracle;
    Instant now = kNow;
};

} // namespace

/// The oracle of the simulated month notices what it is there for.
class MonthOracleTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aResultIsExpectedOnceAndInTime()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.oracle.waited(1h);
        run.tells(u"FAILURE"_s);
        QCOMPARE(run.oracle.expectedCount(), 1);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.waited(1h));
        run.oracle.announced(u"D:failure"_s);
        run.oracle.waited(1h);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:failure"_s));
    }

    void whatARunFindsFirstIsHistory()
    {
        Run run;
        run.tells(u"ACTIVE"_s);
        run.tells(u"ACTIVE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:success"_s));
    }

    void aFailureThatTurnsIntoAnErrorIsNoNews()
    {
        Run run;
        run.tells({});
        run.tells(u"FAILURE"_s);
        run.oracle.announced(u"D:failure"_s);
        run.tells(u"ERROR"_s);
        QCOMPARE(run.oracle.expectedCount(), 1);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:error"_s));
    }

    void aSuccessAfterAFailureIsNews()
    {
        Run run;
        run.tells({});
        run.tells(u"FAILURE"_s);
        run.oracle.announced(u"D:failure"_s);
        run.tells(u"ACTIVE"_s);
        run.oracle.announced(u"D:success"_s);
        QCOMPARE(run.oracle.expectedCount(), 2);
    }

    void aResultOfTheDayBeforeIsNotWorthMentioning()
    {
        Run run;
        run.tells({});
        run.tells(u"ACTIVE"_s, 25h);
        QCOMPARE(run.oracle.expectedCount(), 0);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:success"_s));
    }

    void aRunIsHandedOverForAnHour()
    {
        Run soon;
        soon.tells(u"IN_PROGRESS"_s);
        soon.restarts(MonthOracle::End::Orderly, 30min);
        soon.tells(u"ACTIVE"_s);
        QCOMPARE(soon.oracle.expectedCount(), 1);
        Run late;
        late.tells(u"IN_PROGRESS"_s);
        late.restarts(MonthOracle::End::Orderly, 2h);
        late.tells(u"ACTIVE"_s);
        QCOMPARE(late.oracle.expectedCount(), 0);
    }

    void whatOnlyAnOlderListHeldMayBeAnnouncedOrNot()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.restarts(MonthOracle::End::Orderly, 2h);
        run.oracle.told(u"tobias"_s, {{8, std::make_shared<const QList<ToldDeployment>>()}});
        run.oracle.roundEnded(u"tobias"_s, run.now, true);
        run.restarts(MonthOracle::End::Orderly, 1min);
        run.tells(u"ACTIVE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        run.oracle.announced(u"D:success"_s);
    }

    void aKillMayLoseOneNotification()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.tells(u"ACTIVE"_s);
        run.restarts(MonthOracle::End::Killed, 1min);
        run.tells(u"ACTIVE"_s);
        run.oracle.waited(1h);
        QCOMPARE(run.oracle.lostCount(), 1);
        Run orderly;
        orderly.tells(u"IN_PROGRESS"_s);
        orderly.tells(u"ACTIVE"_s);
        orderly.restarts(MonthOracle::End::Orderly, 1min);
        orderly.tells(u"ACTIVE"_s);
        QVERIFY_THROWS_EXCEPTION(Violation, orderly.oracle.waited(1h));
    }

    void aSpoiledRoundLeavesOpenWhatItTold()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.oracle.spoiled(kLogin);
        run.tells(u"ACTIVE"_s);
        run.oracle.waited(1h);
        QCOMPARE(run.oracle.expectedCount(), 0);
        run.tells(u"ACTIVE"_s);
        QCOMPARE(run.oracle.expectedCount(), 1);
        run.oracle.announced(u"D:success"_s);
    }

    void nothingOfAKindThatIsSwitchedOffIsAnnounced()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.oracle.switched(MonthOracle::Kind::Failures, false);
        run.tells(u"FAILURE"_s);
        run.oracle.waited(1h);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:failure"_s));
        run.tells(u"ACTIVE"_s);
        QCOMPARE(run.oracle.expectedCount(), 1);
        run.oracle.announced(u"D:success"_s);
    }

    void whatCameWhileSwitchedOffIsNotMadeUpForButComesWithTheNextRun()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.oracle.switched(MonthOracle::Kind::Failures, false);
        run.tells(u"FAILURE"_s);
        run.oracle.switched(MonthOracle::Kind::Failures, true);
        run.tells(u"FAILURE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        run.tells(u"IN_PROGRESS"_s);
        run.tells(u"FAILURE"_s);
        QCOMPARE(run.oracle.expectedCount(), 1);
        run.oracle.announced(u"D:failure"_s);
    }

    void whatAWrongClockHasRemovedFromTheListMayBeAnnouncedIfItWasSwitchedOff()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.oracle.switched(MonthOracle::Kind::Successes, false);
        run.tells(u"ACTIVE"_s);
        run.oracle.switched(MonthOracle::Kind::Successes, true);
        run.oracle.clockSet(run.now + 23h);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:success"_s));
        Run other;
        other.tells(u"IN_PROGRESS"_s);
        other.oracle.switched(MonthOracle::Kind::Successes, false);
        other.tells(u"ACTIVE"_s);
        other.oracle.switched(MonthOracle::Kind::Successes, true);
        other.oracle.clockSet(other.now + 25h);
        other.oracle.announced(u"D:success"_s);
        QCOMPARE(other.oracle.expectedCount(), 0);
    }

    void whatWaitsWhenItsKindIsSwitchedOffNeedNotComeAnyMore()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        run.tells(u"ACTIVE"_s);
        run.oracle.switched(MonthOracle::Kind::Successes, false);
        run.oracle.waited(1h);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:success"_s));
    }

    void aResultMayBeAnnouncedWhileTheProgramAsksAgain()
    {
        Run run;
        run.tells(u"IN_PROGRESS"_s);
        const auto told = std::make_shared<const QList<ToldDeployment>>(
            QList<ToldDeployment>{{u"D"_s, u"FAILURE"_s, run.now - 1min}});
        run.oracle.told(kLogin, {{7, told}});
        run.oracle.announcing(u"D:failure"_s, run.now, true);
        run.oracle.announced(u"D:failure"_s);
        QCOMPARE(run.oracle.expectedCount(), 1);
        run.oracle.announcing(u"E:failure"_s, run.now, true);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"E:failure"_s));
    }

    void anAccountThatIsConnectedAgainBeginsAnew()
    {
        Run run;
        run.oracle.listed(kLogin, {7});
        run.tells(u"IN_PROGRESS"_s);
        run.oracle.removed(kLogin);
        run.oracle.listed(kLogin, {7});
        run.tells(u"ACTIVE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:success"_s));
    }

    void aRepositoryThatWasNotListedBeginsAnew()
    {
        Run run;
        run.oracle.listed(kLogin, {7});
        run.tells({});
        run.oracle.listed(kLogin, {});
        run.oracle.roundEnded(kLogin, run.now, true);
        run.oracle.listed(kLogin, {7});
        run.tells(u"FAILURE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
    }

    void aRepositoryThatTheNextRunDoesNotListBeginsAnew()
    {
        Run run;
        run.oracle.listed(kLogin, {7});
        run.tells(u"IN_PROGRESS"_s);
        run.restarts(MonthOracle::End::Orderly, 1min);
        run.oracle.listed(kLogin, {});
        run.oracle.roundEnded(kLogin, run.now, true);
        run.oracle.listed(kLogin, {7});
        run.tells(u"FAILURE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        QVERIFY_THROWS_EXCEPTION(Violation, run.oracle.announced(u"D:failure"_s));
    }

    void aRepositoryThatAnotherAccountMayListMayBeAnnouncedOrNot()
    {
        Run run;
        run.oracle.listed(u"tobias"_s, {8});
        run.oracle.roundEnded(u"tobias"_s, run.now, true);
        run.oracle.listed(kLogin, {7});
        run.tells(u"IN_PROGRESS"_s);
        run.restarts(MonthOracle::End::Orderly, 1min);
        run.oracle.listed(kLogin, {});
        run.oracle.roundEnded(kLogin, run.now, true);
        run.oracle.listed(kLogin, {7});
        run.tells(u"FAILURE"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        run.oracle.announced(u"D:failure"_s);
    }

    void theEndOfWhatWasUnderWayInASpoiledFetchMayBeNewsInTheNextRun()
    {
        Run run;
        run.oracle.spoiled(kLogin);
        run.tells(u"IN_PROGRESS"_s);
        run.restarts(MonthOracle::End::Orderly, 1min);
        run.tells(u"SUCCESS"_s);
        QCOMPARE(run.oracle.expectedCount(), 0);
        run.oracle.announced(u"D:success"_s);
    }
};

VELMORA_TEST(MonthOracleTest)
#include "month_oracle_test.moc"
