// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_layout.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

class DeploymentListLayoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsStandBelowEachOther()
    {
        // A header with two rows, then a header with one.
        const DeploymentListLayout layout({20, 40, 5}, {0, 3}, 5);
        const QList<int> tops{0, 20, 60, 105, 125};
        const QList<int> heights{20, 40, 40, 20, 40};
        for (int row = 0; row < layout.rowCount(); ++row) {
            QCOMPARE(layout.top(row), tops.at(row));
            QCOMPARE(layout.height(row), heights.at(row));
        }
        QCOMPARE(layout.contentHeight(), 170);
    }

    void everyHeightBelongsToItsRow()
    {
        const DeploymentListLayout layout({20, 40, 5}, {0, 3}, 5);
        for (int y = 0; y < layout.contentHeight(); ++y) {
            const int row = layout.rowAt(y);
            QVERIFY(layout.top(row) <= y);
            const int next = row + 1 < layout.rowCount() ? layout.top(row + 1) : layout.contentHeight();
            QVERIFY(y < next);
        }
        QCOMPARE(layout.rowAt(-1), -1);
        QCOMPARE(layout.rowAt(170), -1);
        QCOMPARE(layout.rowAt(102), 2);
    }

    void aHeaderStartsASectionAndItsLastRowEndsIt()
    {
        const DeploymentListLayout layout({20, 40, 5}, {0, 3}, 5);
        const QList<bool> headers{true, false, false, true, false};
        const QList<bool> ends{false, false, true, false, true};
        for (int row = 0; row < layout.rowCount(); ++row) {
            QCOMPARE(layout.isHeader(row), headers.at(row));
            QCOMPARE(layout.endsSection(row), ends.at(row));
        }
    }

    void anEmptyListHasNoHeight()
    {
        const DeploymentListLayout layout;
        QCOMPARE(layout.contentHeight(), 0);
        QCOMPARE(layout.rowAt(0), -1);
        QCOMPARE(layout.rowCount(), 0);
    }
};

VELMORA_TEST(DeploymentListLayoutTest)
#include "deployment_list_layout_test.moc"
