// SPDX-License-Identifier: MIT
#include "monitor/muted_repositories.h"

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

class MutedRepositoriesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_defaults.values.clear();
        m_defaults.writes.clear();
        m_clock.setNow(noon());
    }

    void atFirstNothingIsMuted()
    {
        MutedRepositories muted(&m_defaults, &m_clock);
        QVERIFY(!muted.isMuted(u"R_web"_s));
        muted.unmute(u"R_web"_s);
        muted.forgetOver();
        QVERIFY(m_defaults.writes.isEmpty());
    }

    void aRepositoryIsMutedUntilItIsUnmuted()
    {
        MutedRepositories muted(&m_defaults, &m_clock);
        QSignalSpy changes(&muted, &MutedRepositories::changed);
        muted.mute(u"R_web"_s);
        QVERIFY(muted.muting(u"R_web"_s) == Term(noon(), std::nullopt));
        QVERIFY(!muted.isMuted(u"R_api"_s));
        QCOMPARE(stored(), QStringList(u"2026-05-01T12:00:00Z/.. R_web"_s));
        m_clock.advance(24h * 365);
        QVERIFY(muted.isMuted(u"R_web"_s));
        QCOMPARE(changes.count(), 1);
        muted.unmute(u"R_web"_s);
        QVERIFY(!muted.isMuted(u"R_web"_s));
        QCOMPARE(stored(), QStringList());
        QCOMPARE(changes.count(), 2);
    }

    void anEndEndsItAndIsForgotten()
    {
        MutedRepositories muted(&m_defaults, &m_clock);
        muted.mute(u"R_web"_s, noon() + 8h);
        muted.mute(u"R_api"_s, noon() + 9h);
        m_clock.advance(8h - 1us);
        QVERIFY(muted.isMuted(u"R_web"_s));
        muted.forgetOver();
        QCOMPARE(stored().size(), 2);
        m_clock.advance(1us);
        QVERIFY(!muted.isMuted(u"R_web"_s));
        QSignalSpy changes(&muted, &MutedRepositories::changed);
        muted.forgetOver();
        QCOMPARE(stored(), QStringList(u"2026-05-01T12:00:00Z/2026-05-01T21:00:00Z R_api"_s));
        QCOMPARE(changes.count(), 1);
        QVERIFY(muted.isMuted(u"R_api"_s));
    }

    void aLaterMutingReplacesTheEarlier()
    {
        MutedRepositories muted(&m_defaults, &m_clock);
        muted.mute(u"R_web"_s);
        m_clock.advance(1min);
        muted.mute(u"R_web"_s, noon() + 1h);
        QVERIFY(muted.muting(u"R_web"_s) == Term(noon() + 1min, noon() + 1h));
        QCOMPARE(stored().size(), 1);
    }

    void ofTwoThatWereMadeAtTheSameTimeTheLaterCounts()
    {
        const QStringList lines{
            u"2026-05-01T10:00:00Z/.. R_web"_s, u"2026-05-01T11:00:00Z/2026-05-01T20:00:00Z R_web"_s};
        for (const QStringList &order : {lines, QStringList(lines.crbegin(), lines.crend())}) {
            m_defaults.values[kKey] = order;
            MutedRepositories muted(&m_defaults, &m_clock);
            QVERIFY(muted.muting(u"R_web"_s) == Term(noon() - 1h, noon() + 8h));
            muted.unmute(u"R_web"_s);
            QCOMPARE(stored(), QStringList());
        }
    }

    void whatAnotherProcessChoosesIsFollowedAndSurvivesARestart()
    {
        MutedRepositories muted(&m_defaults, &m_clock);
        QSignalSpy changes(&muted, &MutedRepositories::changed);
        MutedRepositories(&m_defaults, &m_clock).mute(u"R_web"_s);
        QVERIFY(muted.isMuted(u"R_web"_s));
        QCOMPARE(changes.count(), 1);
        QVERIFY(MutedRepositories(&m_defaults, &m_clock).isMuted(u"R_web"_s));
        m_defaults.setValue(u"general.notificationsEnabled"_s, true);
        QCOMPARE(changes.count(), 1);
    }

    void linesThatMeanNothingAreIgnoredAndForgottenWithTheNextEnd()
    {
        m_defaults.values[kKey] = QStringList{u""_s, u"R_web"_s, u"soon R_api"_s};
        MutedRepositories muted(&m_defaults, &m_clock);
        QVERIFY(!muted.isMuted(u"R_web"_s));
        QVERIFY(!muted.isMuted(u"R_api"_s));
        muted.mute(u"R_docs"_s, noon() + 1h);
        m_clock.advance(1h);
        muted.forgetOver();
        QCOMPARE(stored(), QStringList());
    }

private:
    const QString kKey = u"repositories.muted"_s;

    [[nodiscard]] QStringList stored() const { return m_defaults.stringList(kKey); }

    FakePreferences m_defaults;
    FakeClock m_clock;
};

VELMORA_TEST(MutedRepositoriesTest)
#include "muted_repositories_test.moc"
