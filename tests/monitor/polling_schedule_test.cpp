// SPDX-License-Identifier: MIT
#include "monitor/polling_schedule.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class PollingScheduleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDecisionFollowsFromTheTimesAndTheList_data()
    {
        using enum PollingDecision;
        QTest::addColumn<int>("fullAge"); // seconds; -1: never
        QTest::addColumn<int>("age");
        QTest::addColumn<bool>("hasActive");
        QTest::addColumn<int>("expected");
        const auto row = [](const char *name, int fullAge, int age, bool hasActive, PollingDecision expected) {
            QTest::newRow(name) << fullAge << age << hasActive << static_cast<int>(expected);
        };
        row("the first tick", -1, -1, false, InstallationsAndAllDeployments);
        row("never full, lately refreshed by hand", -1, 1, true, InstallationsAndAllDeployments);
        row("an hour since the installations", 3600, 5, true, InstallationsAndAllDeployments);
        row("a second less than an hour", 3599, 5, false, Nothing);
        row("installations known, never refreshed", 10, -1, false, AllDeployments);
        row("30 seconds since the last refresh", 100, 30, true, AllDeployments);
        row("29 seconds, nothing under way", 100, 29, false, Nothing);
        row("20 seconds, one under way", 100, 20, true, ActiveDeployments);
        row("the clock was set back since the last refresh", 100, -60, false, AllDeployments);
        row("the clock was set back since the installations", -60, 10, false, InstallationsAndAllDeployments);
    }

    void installationsAreDueAfterAnHourOrWhenTheyAreExpected_data()
    {
        QTest::addColumn<int>("age"); // seconds
        QTest::addColumn<bool>("areExpected");
        QTest::addColumn<bool>("areDue");
        QTest::newRow("an hour") << 3600 << false << true;
        QTest::newRow("a second less than an hour") << 3599 << false << false;
        QTest::newRow("expected, since the last poll") << 30 << true << true;
        QTest::newRow("expected, loaded a moment ago") << 4 << true << false;
        QTest::newRow("the clock was set back") << -60 << false << true;
    }

    void installationsAreDueAfterAnHourOrWhenTheyAreExpected()
    {
        QFETCH(int, age);
        QFETCH(bool, areExpected);
        QFETCH(bool, areDue);
        QCOMPARE(areInstallationsDue(noon() - std::chrono::seconds(age), areExpected, noon()), areDue);
    }

    void theDecisionFollowsFromTheTimesAndTheList()
    {
        QFETCH(int, fullAge);
        QFETCH(int, age);
        QFETCH(bool, hasActive);
        QFETCH(int, expected);
        const auto instant = [](int seconds) {
            return seconds == -1 ? std::nullopt : std::optional(noon() - std::chrono::seconds(seconds));
        };
        const PollingSituation situation{instant(fullAge), instant(age), hasActive};
        QCOMPARE(static_cast<int>(decide(situation, noon())), expected);
    }
};

VELMORA_TEST(PollingScheduleTest)
#include "polling_schedule_test.moc"
