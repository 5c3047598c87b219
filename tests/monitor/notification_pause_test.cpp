// SPDX-License-Identifier: MIT
#include "monitor/notification_pause.h"

#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

class NotificationPauseTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_defaults.values.clear();
        m_defaults.writes.clear();
        m_clock.setNow(noon());
    }

    void atFirstThereIsNone()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        pause.forgetOver();
        pause.resume();
        QVERIFY(!pause.term());
        QVERIFY(!pause.hasFailures());
        QVERIFY(awaitValue(pause.takeFailures()).isEmpty());
        QVERIFY(m_defaults.writes.isEmpty());
    }

    void withoutAnEndItHoldsUntilItIsResumed()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        QSignalSpy changes(&pause, &NotificationPause::changed);
        pause.begin(std::nullopt);
        QVERIFY(pause.term() == Term(noon(), std::nullopt));
        QCOMPARE(changes.count(), 1);
        m_clock.advance(24h * 365);
        pause.forgetOver();
        QVERIFY(pause.term());
        pause.resume();
        QVERIFY(!pause.term());
        QCOMPARE(changes.count(), 2);
    }

    void itEndsAtItsTimeAndIsForgotten()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        pause.begin(noon() + 1h);
        m_clock.advance(1h - 1us);
        pause.forgetOver();
        QVERIFY(pause.term());
        m_clock.advance(1us);
        QVERIFY(!pause.term());
        QCOMPARE(m_defaults.stringList(kPause).size(), 1);
        pause.forgetOver();
        QCOMPARE(m_defaults.stringList(kPause), QStringList());
    }

    void aClockThatIsSetBackEndsIt()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        pause.begin(noon() + 1h);
        m_clock.setNow(noon() - 24h);
        QVERIFY(!pause.term());
    }

    void aLaterPauseReplacesTheEarlierAndKeepsWhatFailed()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        pause.begin(noon() + 1h);
        awaitValue(pause.note({failure(u"a"_s, noon())}));
        m_clock.advance(1min);
        pause.begin(noon() + 4h);
        QVERIFY(pause.term() == Term(noon() + 1min, noon() + 4h));
        QCOMPARE(m_defaults.stringList(kPause).size(), 1);
        m_clock.advance(2h);
        QVERIFY(!pause.hasFailures());
        QVERIFY(awaitValue(pause.takeFailures()).isEmpty());
        m_clock.advance(2h);
        QCOMPARE(ids(awaitValue(pause.takeFailures())), QStringList(u"a"_s));
    }

    void ofTwoThatWereBegunAtTheSameTimeTheLaterCounts()
    {
        const QStringList lines{u"2026-05-01T10:00:00Z/.."_s, u"2026-05-01T11:00:00Z/2026-05-01T20:00:00Z"_s, u"x"_s};
        for (const QStringList &order : {lines, QStringList(lines.crbegin(), lines.crend())}) {
            m_defaults.values[kPause] = order;
            NotificationPause pause(&m_defaults, &m_clock);
            QVERIFY(pause.term() == Term(noon() - 1h, noon() + 8h));
            pause.resume();
            QCOMPARE(m_defaults.stringList(kPause), QStringList());
        }
    }

    void itSurvivesARestartAndIsFollowedInOtherProcesses()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        QSignalSpy changes(&pause, &NotificationPause::changed);
        NotificationPause(&m_defaults, &m_clock).begin(noon() + 1h);
        QCOMPARE(changes.count(), 1);
        QVERIFY(pause.term());
        QVERIFY(NotificationPause(&m_defaults, &m_clock).term());
        m_defaults.setValue(u"general.notificationsEnabled"_s, true);
        QCOMPARE(changes.count(), 1);
    }

    void failuresAreTakenOnceOldestFirstAndAsTheyWere()
    {
        NotificationPause pause(&m_defaults, &m_clock);
        pause.begin(std::nullopt);
        DeploymentSnapshot late = failure(u"a"_s, noon() + 2min);
        late.refName = u"main"_s;
        late.logURL = WebAddress(u"https://ci.example/1"_s);
        const DeploymentSnapshot early = failure(u"b"_s, noon() + 1min);
        awaitValue(pause.note({late, makeSnapshot(u"s"_s, DeploymentState::Success, noon())}));
        awaitValue(pause.note({early}));
        awaitValue(pause.note({early}));
        QVERIFY(!pause.hasFailures());
        pause.resume();
        QVERIFY(pause.hasFailures());
        NotificationPause other(&m_defaults, &m_clock);
        QCOMPARE(awaitValue(pause.takeFailures()), (DeploymentList{early, late}));
        QVERIFY(!other.hasFailures());
        QVERIFY(awaitValue(other.takeFailures()).isEmpty());
    }

    void whatIsNoDeploymentIsLeftOut()
    {
        m_defaults.values[kFailures] = QStringList{u"{}"_s, u"nonsense"_s};
        NotificationPause pause(&m_defaults, &m_clock);
        QVERIFY(awaitValue(pause.takeFailures()).isEmpty());
        QVERIFY(!pause.hasFailures());
    }

private:
    const QString kPause = u"notifications.pause"_s;
    const QString kFailures = u"notifications.failedWhilePaused"_s;

    static DeploymentSnapshot failure(const QString &id, Instant at)
    {
        return makeSnapshot(id, DeploymentState::Failure, at);
    }
    static QStringList ids(const DeploymentList &list)
    {
        QStringList ids;
        for (const DeploymentSnapshot &deployment : list)
            ids.append(deployment.id);
        return ids;
    }

    FakePreferences m_defaults;
    FakeClock m_clock;
};

VELMORA_TEST(NotificationPauseTest)
#include "notification_pause_test.moc"
