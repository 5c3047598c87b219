// SPDX-License-Identifier: MIT
#include "monitor/remembered_results.h"

#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

const QString kFailures = u"deployments.notifiedFailures"_s;
const QString kSuccesses = u"deployments.notifiedSuccesses"_s;
const QString kWaiting = u"deployments.waitingResults"_s;
const QString kLastSeen = u"deployments.resultsLastSeen"_s;

DeploymentSnapshot failed(const QString &id)
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

} // namespace

class RememberedResultsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock.setNow(noon());
        m_defaults = std::make_unique<FakePreferences>();
    }

    void bothListsAreThereFromTheBeginning()
    {
        RememberedResults results(m_defaults.get(), &m_clock);
        awaitValue(results.keep({}));
        QVERIFY(m_defaults->value(kFailures).has_value());
        QVERIFY(m_defaults->value(kSuccesses).has_value());
    }

    void whatIsKeptHasTheDayOnWhichItWasSeen()
    {
        RememberedResults results(m_defaults.get(), &m_clock);
        const auto success = makeSnapshot(u"b"_s, DeploymentState::Success, noon());
        awaitValue(results.keep({{failed(u"a"_s)}, {success}, {failed(u"a"_s), success, failed(u"c"_s)}}));
        QCOMPARE(m_defaults->stringList(kFailures), QStringList(u"a:failure"_s));
        QCOMPARE(m_defaults->stringList(kWaiting), QStringList(u"b:success"_s));
        QCOMPARE(
            m_defaults->stringList(kLastSeen), QStringList({u"2026-05-01 a:failure"_s, u"2026-05-01 b:success"_s}));
        QCOMPARE(results.keys().known, QSet<QString>{u"a:failure"_s});
        QCOMPARE(results.keys().waiting, QSet<QString>{u"b:success"_s});
    }

    void onTheSameDayNothingIsWrittenAgain()
    {
        RememberedResults results(m_defaults.get(), &m_clock);
        awaitValue(results.keep({{failed(u"a"_s)}, {}, {failed(u"a"_s)}}));
        m_defaults->writes.clear();
        m_clock.setNow(noon() + 11h);
        awaitValue(results.keep({{}, {}, {failed(u"a"_s)}}));
        QCOMPARE(m_defaults->writes, QStringList());
        m_clock.setNow(noon() + 12h);
        awaitValue(results.keep({{}, {}, {failed(u"a"_s)}}));
        QCOMPARE(m_defaults->writes, QStringList(kLastSeen));
        QCOMPARE(m_defaults->stringList(kLastSeen), QStringList(u"2026-05-02 a:failure"_s));
    }

    void aResultIsForgottenThirtyDaysAfterItWasLastSeen()
    {
        RememberedResults results(m_defaults.get(), &m_clock);
        awaitValue(results.keep(
            {{failed(u"a"_s), failed(u"b"_s)}, {failed(u"c"_s)}, {failed(u"a"_s), failed(u"b"_s), failed(u"c"_s)}}));
        m_clock.setNow(noon() + 29 * 24h);
        awaitValue(results.keep({{}, {}, {failed(u"b"_s)}}));
        QCOMPARE(m_defaults->stringList(kFailures), QStringList({u"a:failure"_s, u"b:failure"_s}));
        m_clock.setNow(noon() + 30 * 24h);
        awaitValue(results.keep({}));
        QCOMPARE(m_defaults->stringList(kFailures), QStringList(u"b:failure"_s));
        QCOMPARE(m_defaults->stringList(kWaiting), QStringList());
        QCOMPARE(m_defaults->stringList(kLastSeen), QStringList(u"2026-05-30 b:failure"_s));
    }

    void whatIsSeenAgainOnTheLastDayIsNotForgotten()
    {
        RememberedResults results(m_defaults.get(), &m_clock);
        awaitValue(results.keep({{failed(u"a"_s)}, {}, {failed(u"a"_s)}}));
        m_clock.setNow(noon() + 30 * 24h);
        awaitValue(results.keep({{}, {}, {failed(u"a"_s)}}));
        QCOMPARE(m_defaults->stringList(kFailures), QStringList(u"a:failure"_s));
        QCOMPARE(m_defaults->stringList(kLastSeen), QStringList(u"2026-05-31 a:failure"_s));
    }

    void whatIsFromBeforeThereWereDaysGetsThirty()
    {
        m_defaults->values[kFailures] = QStringList(u"a:failure"_s);
        {
            RememberedResults results(m_defaults.get(), &m_clock);
            awaitValue(results.keep({}));
            QCOMPARE(m_defaults->stringList(kLastSeen), QStringList(u"2026-05-01 a:failure"_s));
        }
        m_clock.setNow(noon() + 30 * 24h);
        RememberedResults results(m_defaults.get(), &m_clock);
        awaitValue(results.keep({}));
        QCOMPARE(m_defaults->stringList(kFailures), QStringList());
        QCOMPARE(m_defaults->stringList(kLastSeen), QStringList());
    }

    void aResultIsClaimedOnce()
    {
        RememberedResults first(m_defaults.get(), &m_clock);
        RememberedResults second(m_defaults.get(), &m_clock);
        awaitValue(first.keep({{}, {failed(u"a"_s)}, {}}));
        awaitValue(second.keep({{}, {failed(u"a"_s)}, {}}));
        QVERIFY(awaitValue(first.claim(failed(u"a"_s))));
        QVERIFY(!awaitValue(second.claim(failed(u"a"_s))));
        QCOMPARE(m_defaults->stringList(kFailures), QStringList(u"a:failure"_s));
        QCOMPARE(m_defaults->stringList(kWaiting), QStringList());
        QCOMPARE(m_defaults->stringList(kLastSeen), QStringList(u"2026-05-01 a:failure"_s));
    }

    void whatIsGivenUpIsNeitherKnownNorWaiting()
    {
        RememberedResults results(m_defaults.get(), &m_clock);
        awaitValue(results.keep({{}, {failed(u"a"_s)}, {}}));
        results.giveUp(failed(u"a"_s));
        QVERIFY(results.keys().known.isEmpty());
        QVERIFY(results.keys().waiting.isEmpty());
    }

private:
    FakeClock m_clock;
    std::unique_ptr<FakePreferences> m_defaults;
};

VELMORA_TEST(RememberedResultsTest)
#include "remembered_results_test.moc"
