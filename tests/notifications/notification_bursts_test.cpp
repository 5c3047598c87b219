// SPDX-License-Identifier: MIT
#include "notifications/notification_bursts.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using Kind = DeploymentNotificationKind;

class NotificationBurstsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_bursts = {};
        m_count = 0;
    }

    void threeComeByThemselvesAndTheOthersInAGroupOfAll()
    {
        const QList<qsizetype> expected{0, 0, 0, 4, 5, 6, 7, 8, 9};
        QCOMPARE(comeAt(QList<std::chrono::milliseconds>(9, 0ms)), expected);
    }

    void aFourthWithinTheSpanIsFoldedAndALaterOneIsNot_data()
    {
        QTest::addColumn<std::chrono::milliseconds>("fourth");
        QTest::addColumn<qsizetype>("folded");
        QTest::newRow("at once") << 3ms << qsizetype(4);
        QTest::newRow("at the end of the span") << 30'000ms << qsizetype(4);
        QTest::newRow("after the span") << 30'001ms << qsizetype(0);
    }
    void aFourthWithinTheSpanIsFoldedAndALaterOneIsNot()
    {
        QFETCH(std::chrono::milliseconds, fourth);
        QFETCH(qsizetype, folded);
        const QList<qsizetype> expected{0, 0, 0, folded};
        QCOMPARE(comeAt({0ms, 1ms, 2ms, fourth}), expected);
    }

    void aBurstGrowsForAsLongAsItGoesOn()
    {
        const QList<qsizetype> expected{0, 0, 0, 4, 5, 6, 7};
        QCOMPARE(comeAt({0s, 1s, 2s, 20s, 31s, 32s, 50s}), expected);
    }

    void resultsThatComeSlowlyAllComeByThemselves()
    {
        const QList<qsizetype> expected{0, 0, 0, 0, 0, 0};
        QCOMPARE(comeAt({0s, 15s, 29s, 31s, 46s, 61s}), expected);
    }

    void theNextBurstIsAnotherGroup()
    {
        QCOMPARE(comeAt({0s, 0s, 0s, 0s, 0s}).last(), 5);
        const QString first = m_latest->notification().identifier;
        const QList<qsizetype> expected{0, 0, 0, 4};
        QCOMPARE(comeAt({31s, 31s, 31s, 31s}), expected);
        QVERIFY(m_latest->notification().identifier != first);
    }

    void ofAnEndedBurstTheNextCountsNoMoreThanItsSpan()
    {
        QCOMPARE(comeAt({0s, 1s, 2s, 3s}).last(), 4);
        const QString first = m_latest->notification().identifier;
        // Two that the span holds, this one, and one more.
        const QList<qsizetype> expected{0, 4};
        QCOMPARE(comeAt({32s, 32s}), expected);
        QVERIFY(m_latest->notification().identifier != first);
    }

    void theKindsAreIndependentOfEachOther()
    {
        QCOMPARE(comeAt({0s, 0s, 0s}), (QList<qsizetype>{0, 0, 0}));
        for (const Kind kind : {Kind::Success, Kind::Waiting}) {
            for (int i = 0; i < 3; ++i)
                QCOMPARE(comes(0ms, kind), 0);
        }
        QCOMPARE(comes(0ms, Kind::Success), 4);
        QCOMPARE(m_latest->notification().title, QStringLiteral("4 deployments succeeded"));
        QCOMPARE(comes(0ms, Kind::Failure), 4);
        QCOMPARE(m_latest->notification().title, QStringLiteral("4 deployments failed"));
    }

    void aClockThatIsSetBackEndsTheBurst()
    {
        QCOMPARE(comeAt({0s, 1s, 2s, 3s}).last(), 4);
        const QList<qsizetype> expected{0, 0, 0, 4};
        QCOMPARE(comeAt({-1h, -1h, -1h, -1h}), expected);
    }

private:
    /// The size of the group in which a result that comes at this time is announced; 0: it is announced by itself.
    qsizetype comes(std::chrono::milliseconds time, Kind kind = Kind::Failure)
    {
        const auto deployment = makeSnapshot(QStringLiteral("D%1").arg(++m_count), DeploymentState::Failure, noon());
        m_latest = m_bursts.add(deployment, kind, noon() + time);
        return m_latest ? m_latest->count() : 0;
    }

    QList<qsizetype> comeAt(const QList<std::chrono::milliseconds> &times)
    {
        QList<qsizetype> sizes;
        for (const auto time : times)
            sizes.append(comes(time));
        return sizes;
    }

    NotificationBursts m_bursts;
    std::optional<DeploymentGroup> m_latest;
    int m_count = 0;
};

VELMORA_TEST(NotificationBurstsTest)
#include "notification_bursts_test.moc"
