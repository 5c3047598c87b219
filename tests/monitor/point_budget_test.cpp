// SPDX-License-Identifier: MIT
#include "monitor/point_budget.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class PointBudgetTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsKnownBeforeTheFirstReport()
    {
        QVERIFY(!PointBudget().supply(noon()));
        PointBudget budget;
        budget.record(DeploymentRateLimit::none(), noon());
        QVERIFY(!budget.supply(noon()));
    }

    void aTenthIsLeftToOtherTools()
    {
        PointBudget budget;
        budget.record({50, 4950, noon() + 1h}, noon());
        QCOMPARE(points(budget, noon()), 4450);
        QCOMPARE(budget.supply(noon())->time.count(), 3600.0);
        budget.record({50, 4900, noon() + 1h}, noon() + 30min);
        QCOMPARE(points(budget, noon() + 30min), 4400);
        QCOMPARE(budget.supply(noon() + 30min)->time.count(), 1800.0);
    }

    void whatOtherToolsHaveTakenIsNoLongerKeptForThem()
    {
        PointBudget budget;
        budget.record({50, 4950, noon() + 1h}, noon());
        budget.record({50, 4700, noon() + 1h}, noon() + 1min);
        QCOMPARE(points(budget, noon() + 1min), 4400);
        // More than their share.
        budget.record({50, 4000, noon() + 1h}, noon() + 2min);
        QCOMPARE(points(budget, noon() + 2min), 4000);
    }

    void aTenthOfWhatOtherToolsLeftGoesOn()
    {
        PointBudget budget;
        budget.record({10, 4990, noon() + 1h}, noon());
        budget.record({10, 4490, noon() + 2h}, noon() + 1h);
        QCOMPARE(points(budget, noon() + 1h), 4490);
        PointBudget beginning;
        beginning.record({1, 4999, noon() + 1h}, noon());
        beginning.record({0, 400, noon() + 1h}, noon() + 1s);
        QCOMPARE(points(beginning, noon() + 1s), 400);
        PointBudget own;
        own.record({4900, 100, noon() + 1h}, noon());
        QCOMPARE(points(own, noon()), 10);
    }

    void theFullNumberIsThereAgainAfterTheReset()
    {
        PointBudget budget;
        budget.record({4000, 1000, noon() + 10min}, noon());
        QCOMPARE(points(budget, noon() + 10min), 4500);
        QCOMPARE(budget.supply(noon() + 10min)->time.count(), 3600.0);
        budget.record({50, 4950, noon() + 70min}, noon() + 10min);
        QCOMPARE(points(budget, noon() + 10min), 4450);
    }

    void aResetThatIsCloseLeavesAtLeastASecond()
    {
        PointBudget budget;
        budget.record({1, 4999, noon() + 1h}, noon());
        QCOMPARE(budget.supply(noon() + 1h - 1us)->time.count(), 1.0);
    }

private:
    static int points(const PointBudget &budget, Instant now) { return qRound(budget.supply(now)->points); }
};

VELMORA_TEST(PointBudgetTest)
#include "point_budget_test.moc"
