// SPDX-License-Identifier: MIT
#include "github/rate_limit_ledger.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

namespace
{

const Instant kNow = *parseISO8601(u"2026-05-01T12:00:00Z");

} // namespace

class RateLimitLedgerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nobodyIsPausedAtFirst() { QVERIFY(!RateLimitLedger().pausedUntil(1, kNow).has_value()); }

    void aRefusalPausesOneIdentityUntilGitHubsTime()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {kNow + 90s}, kNow);
        QCOMPARE(ledger.pausedUntil(1, kNow), std::optional<Instant>(kNow + 90s));
        QVERIFY(ledger.pausedUntil(1, kNow + 89s).has_value());
        QVERIFY(!ledger.pausedUntil(1, kNow + 90s).has_value());
        QVERIFY(!ledger.pausedUntil(2, kNow).has_value());
    }

    void refusalsWithoutATimeDoubleUpToAnHour()
    {
        RateLimitLedger ledger;
        Instant now = kNow;
        for (const auto expected : {60s, 120s, 240s, 480s, 960s, 1920s, 3600s, 3600s}) {
            ledger.recordRefusal(1, {}, now);
            QCOMPARE(ledger.pausedUntil(1, now), std::optional<Instant>(now + expected));
            now += expected;
        }
        for (int i = 0; i < 100; ++i) {
            ledger.recordRefusal(1, {}, now);
            now += 1h;
        }
        QVERIFY(!ledger.pausedUntil(1, now).has_value());
    }

    void refusalsWithAPastTimeStartAtASecond()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {kNow - 1h}, kNow);
        QCOMPARE(ledger.pausedUntil(1, kNow), std::optional<Instant>(kNow + 1s));
        ledger.recordRefusal(1, {distantPast()}, kNow + 1s);
        QCOMPARE(ledger.pausedUntil(1, kNow + 1s), std::optional<Instant>(kNow + 3s));
    }

    void anAbsurdTimeLastsAnHour()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {*parseISO8601(u"9999-12-31T23:59:59Z")}, kNow);
        QCOMPARE(ledger.pausedUntil(1, kNow), std::optional<Instant>(kNow + 1h));
        ledger.recordSuccess(2, {1, 0, *parseISO8601(u"9999-12-31T23:59:59Z")}, 1, kNow);
        QCOMPARE(ledger.pausedUntil(2, kNow), std::optional<Instant>(kNow + 1h));
        ledger.recordSuccess(3, {1, -5, *parseISO8601(u"2999-01-01T00:00:00Z")}, 1, kNow);
        QCOMPARE(ledger.pausedUntil(3, kNow), std::optional<Instant>(kNow + 1h));
    }

    void aPauseKeepsItsLengthWhenTheClockIsSetBack()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {}, kNow);
        QVERIFY(ledger.pausedUntil(1, kNow + 20s).has_value());
        const Instant corrected = kNow + 20s - 10h;
        QCOMPARE(ledger.pausedUntil(1, corrected), std::optional<Instant>(corrected + 40s));
        QVERIFY(!ledger.pausedUntil(1, corrected + 40s).has_value());
        // The same again after the pause.
        ledger.recordRefusal(1, {}, corrected + 40s);
        QCOMPARE(ledger.pausedUntil(1, kNow - 5h * 24), std::optional<Instant>(kNow - 5h * 24 + 120s));
    }

    void aClockThatIsSetForwardEndsAPauseThatIsOverByThen()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {kNow + 50min}, kNow);
        QCOMPARE(ledger.pausedUntil(1, kNow + 30min), std::optional<Instant>(kNow + 50min));
        QVERIFY(!ledger.pausedUntil(1, kNow + 11h).has_value());
    }

    void aPauseKeepsItsLengthWhenTheClockIsSetBackALittle()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {}, kNow + 5min);
        QCOMPARE(ledger.pausedUntil(1, kNow), std::optional<Instant>(kNow + 1min));
        QVERIFY(!ledger.pausedUntil(1, kNow + 1min).has_value());
    }

    void aPauseIsNeverShortened()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {kNow + 90s}, kNow);
        ledger.recordRefusal(1, {kNow + 30s}, kNow);
        ledger.recordSuccess(1, {1, 5000, kNow + 1h}, 1, kNow);
        QCOMPARE(ledger.pausedUntil(1, kNow), std::optional<Instant>(kNow + 90s));
    }

    void aSuccessWithFewerPointsThanTheNextFetchCostsPausesUntilTheReset()
    {
        RateLimitLedger ledger;
        ledger.recordSuccess(1, {3, 3, kNow + 10min}, 3, kNow);
        QVERIFY(!ledger.pausedUntil(1, kNow).has_value());
        ledger.recordSuccess(1, {3, 2, kNow + 10min}, 3, kNow);
        QCOMPARE(ledger.pausedUntil(1, kNow), std::optional<Instant>(kNow + 10min));
    }

    void aResetThatHasPassedMeansThatThePointsAreFull()
    {
        RateLimitLedger ledger;
        ledger.recordSuccess(1, {3, 0, kNow}, 3, kNow);
        QVERIFY(!ledger.pausedUntil(1, kNow - 1s).has_value());
    }

    void aSuccessEndsTheRowOfRefusals()
    {
        RateLimitLedger ledger;
        ledger.recordRefusal(1, {}, kNow);
        ledger.recordRefusal(1, {}, kNow);
        const Instant later = kNow + 5min;
        ledger.recordSuccess(1, {1, 100, later}, 1, later);
        ledger.recordRefusal(1, {}, later);
        QCOMPARE(ledger.pausedUntil(1, later), std::optional<Instant>(later + 60s));
    }
};

VELMORA_TEST(RateLimitLedgerTest)
#include "rate_limit_ledger_test.moc"
