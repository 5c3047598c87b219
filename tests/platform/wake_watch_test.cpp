// SPDX-License-Identifier: MIT
#include "platform/wake_watch.h"

#include "support/await.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class WakeWatchTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_watch.reset();
        m_clock = std::make_unique<FakeClock>();
        m_watch = std::make_unique<WakeWatch>(m_clock.get());
        m_events.clear();
        connect(m_watch.get(), &WakeWatch::paused, this, [this] { m_events.append(QStringLiteral("paused")); });
        connect(
            m_watch.get(), &WakeWatch::connectionsStale, this, [this] { m_events.append(QStringLiteral("stale")); });
        connect(m_watch.get(), &WakeWatch::shouldRetry, this, [this] { m_events.append(QStringLiteral("retry")); });
    }

    void everySignAloneWakesOnceAfterTheGrace_data()
    {
        QTest::addColumn<QString>("sign");
        for (const char *sign : {"woken", "network", "jump"})
            QTest::newRow(sign) << QString::fromLatin1(sign);
    }
    void everySignAloneWakesOnceAfterTheGrace()
    {
        QFETCH(QString, sign);
        give(sign);
        QVERIFY(m_watch->isPaused());
        QCOMPARE(taken(), (QStringList{QStringLiteral("paused"), QStringLiteral("stale")}));
        m_clock->advance(2999ms);
        QCOMPARE(taken(), QStringList());
        m_clock->advance(1ms);
        QCOMPARE(taken(), QStringList{QStringLiteral("retry")});
        QVERIFY(!m_watch->isPaused());
        m_clock->advance(1h);
        QCOMPARE(taken(), QStringList());
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void allSignsTogetherWakeOnce()
    {
        m_watch->prepareForSleep(true);
        QCOMPARE(taken(), QStringList{QStringLiteral("paused")});
        m_watch->clockJumped();
        m_watch->networkChanged(false);
        m_watch->networkChanged(true);
        QCOMPARE(taken(), QStringList());
        m_watch->prepareForSleep(false);
        m_watch->networkChanged(true);
        m_watch->clockJumped();
        m_watch->prepareForSleep(false);
        QCOMPARE(taken(), QStringList{QStringLiteral("stale")});
        m_clock->advance(1h);
        QCOMPARE(taken(), QStringList{QStringLiteral("retry")});
    }

    void nothingIsRetriedWhileTheMachineIsAboutToSleep()
    {
        m_watch->prepareForSleep(true);
        m_watch->prepareForSleep(true);
        QVERIFY(m_watch->isPaused());
        m_clock->advance(29s);
        QVERIFY(m_watch->isPaused());
        QCOMPARE(taken(), QStringList{QStringLiteral("paused")});
    }

    void anAnnouncementThatIsNotFollowedUpEndsByItself()
    {
        m_watch->prepareForSleep(true);
        m_clock->advance(30s);
        QCOMPARE(taken(), (QStringList{QStringLiteral("paused"), QStringLiteral("stale")}));
        m_clock->advance(3s);
        QCOMPARE(taken(), QStringList{QStringLiteral("retry")});
        QVERIFY(!m_watch->isPaused());
    }

    void sleepAgainDuringTheGraceDropsTheRetry()
    {
        m_watch->prepareForSleep(true);
        m_watch->prepareForSleep(false);
        m_clock->advance(2s);
        m_watch->prepareForSleep(true);
        m_clock->advance(20s);
        QCOMPARE(taken(), (QStringList{QStringLiteral("paused"), QStringLiteral("stale")}));
        m_watch->prepareForSleep(false);
        m_clock->advance(1h);
        QCOMPARE(taken(), (QStringList{QStringLiteral("stale"), QStringLiteral("retry")}));
    }

    void aNetworkThatComesLateIsWaitedFor()
    {
        m_watch->prepareForSleep(true);
        m_watch->networkChanged(false);
        m_watch->prepareForSleep(false);
        m_clock->advance(6500ms);
        m_watch->networkChanged(true);
        m_clock->advance(500ms);
        QVERIFY(m_watch->isPaused());
        m_clock->advance(1s);
        QCOMPARE(taken().last(), QStringLiteral("retry"));
    }

    void aNetworkThatDoesNotComeIsNotWaitedForLong()
    {
        m_watch->networkChanged(false);
        m_watch->prepareForSleep(false);
        m_clock->advance(14999ms);
        QVERIFY(m_watch->isPaused());
        m_clock->advance(1ms);
        QCOMPARE(taken().last(), QStringLiteral("retry"));
    }

    void signsThatGoOnDoNotPutTheRetryOffForEver()
    {
        m_watch->networkChanged(true);
        for (int second = 0; second < 14; ++second) {
            m_clock->advance(500ms);
            m_watch->networkChanged(true);
            m_clock->advance(500ms);
        }
        QVERIFY(m_watch->isPaused());
        m_clock->advance(1s);
        QCOMPARE(taken(), (QStringList{QStringLiteral("paused"), QStringLiteral("stale"), QStringLiteral("retry")}));
    }

    void aSignWithinTheLastSecondAddsOneMore()
    {
        m_watch->clockJumped();
        m_clock->advance(2500ms);
        m_watch->networkChanged(true);
        m_clock->advance(500ms);
        QVERIFY(m_watch->isPaused());
        m_clock->advance(1s);
        QVERIFY(!m_watch->isPaused());
    }

    void aNetworkThatGoesIsNoSignByItself()
    {
        m_watch->networkChanged(false);
        m_clock->advance(1h);
        QVERIFY(taken().isEmpty());
        m_watch->networkChanged(true);
        m_clock->advance(3s);
        QCOMPARE(taken(), (QStringList{QStringLiteral("paused"), QStringLiteral("stale"), QStringLiteral("retry")}));
    }

    void aNetworkThatGoesDuringTheGraceIsWaitedFor()
    {
        m_watch->prepareForSleep(false);
        m_watch->networkChanged(false);
        m_clock->advance(5s);
        QVERIFY(m_watch->isPaused());
        m_watch->networkChanged(true);
        m_clock->advance(2s);
        QVERIFY(!m_watch->isPaused());
    }

    void theNextAwakeningCountsAnew()
    {
        for (int i = 0; i < 3; ++i) {
            m_watch->prepareForSleep(true);
            m_watch->prepareForSleep(false);
            m_clock->advance(3s);
            QCOMPARE(
                taken(), (QStringList{QStringLiteral("paused"), QStringLiteral("stale"), QStringLiteral("retry")}));
        }
    }

    void itsEndEndsTheWaiting_data()
    {
        QTest::addColumn<bool>("isAsleep");
        QTest::newRow("asleep") << true;
        QTest::newRow("in the grace") << false;
    }
    void itsEndEndsTheWaiting()
    {
        QFETCH(bool, isAsleep);
        m_watch->prepareForSleep(isAsleep);
        QCOMPARE(m_clock->sleeperCount(), 1);
        m_watch.reset();
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void itMayEndWithAnyOfItsSignals_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("paused") << 0;
        QTest::newRow("stale") << 1;
        QTest::newRow("retry") << 2;
    }
    void itMayEndWithAnyOfItsSignals()
    {
        QFETCH(int, signal);
        const auto end = [this] {
            m_watch.reset();
        };
        if (signal == 0)
            connect(m_watch.get(), &WakeWatch::paused, this, end);
        if (signal == 1)
            connect(m_watch.get(), &WakeWatch::connectionsStale, this, end);
        if (signal == 2)
            connect(m_watch.get(), &WakeWatch::shouldRetry, this, end);
        m_watch->clockJumped();
        m_clock->advance(10s);
        QVERIFY(!m_watch);
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

private:
    void give(const QString &sign)
    {
        if (sign == QLatin1String("woken"))
            m_watch->prepareForSleep(false);
        else if (sign == QLatin1String("network"))
            m_watch->networkChanged(true);
        else
            m_watch->clockJumped();
    }

    QStringList taken() { return std::exchange(m_events, {}); }

    std::unique_ptr<FakeClock> m_clock;
    std::unique_ptr<WakeWatch> m_watch;
    QStringList m_events;
};

VELMORA_TEST(WakeWatchTest)
#include "wake_watch_test.moc"
