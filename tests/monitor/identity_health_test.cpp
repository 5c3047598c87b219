// SPDX-License-Identifier: MIT
#include "monitor/identity_health.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class IdentityHealthTest : public QObject
{
    Q_OBJECT

private:
    static constexpr qint64 kAlice = 1;
    static constexpr qint64 kBob = 2;

private Q_SLOTS:
    void failuresInARowAreRetriedLaterAndLaterUpToFiveMinutes()
    {
        IdentityHealth health([] { return 0.0; });
        Instant now = noon();
        for (const auto delay : {5s, 10s, 20s, 40s, 80s, 160s, 300s, 300s, 300s}) {
            health.recordFailure(kAlice, QStringLiteral("no"), now);
            QVERIFY(health.isWaiting(kAlice, now + delay - 1us));
            QVERIFY(!health.isWaiting(kAlice, now + delay));
            now += delay;
        }
    }

    void manyFailuresDoNotOverflowTheDelay()
    {
        IdentityHealth health([] { return 0.0; });
        for (int i = 0; i < 200; ++i)
            health.recordFailure(kAlice, QStringLiteral("no"), noon());
        QVERIFY(health.isWaiting(kAlice, noon() + 299s));
        QVERIFY(!health.isWaiting(kAlice, noon() + 300s));
    }

    void chanceShortensTheDelayByAFifthAtMost()
    {
        IdentityHealth health([] { return 0.9; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        QVERIFY(health.isWaiting(kAlice, noon() + 4099ms));
        QVERIFY(!health.isWaiting(kAlice, noon() + 4101ms));
    }

    void aSuccessForgetsTheFailures()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        health.clearFailure(kAlice);
        QVERIFY(!health.hasFailed(kAlice));
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        QVERIFY(!health.isWaiting(kAlice, noon() + 5s));
    }

    void identitiesAreKeptApart()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        QVERIFY(!health.hasFailed(kBob));
        QVERIFY(!health.isWaiting(kBob, noon()));
        QVERIFY(!health.failure(kBob));
        QCOMPARE(health.failure(kAlice), QStringLiteral("no"));
    }

    void theLastDescriptionCounts()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("first"), noon());
        health.recordFailure(kAlice, QStringLiteral("second"), noon());
        QCOMPARE(health.failure(kAlice), QStringLiteral("second"));
    }

    void everybodyIsDueAtOnceWhenTheNetworkReturns()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        health.retryAllNow();
        QVERIFY(!health.isWaiting(kAlice, noon()));
        QVERIFY(health.hasFailed(kAlice));
    }

    void oneIdentityCanBeMadeDueAlone()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        health.recordFailure(kBob, QStringLiteral("no"), noon());
        health.retryNow(kAlice);
        QVERIFY(!health.isWaiting(kAlice, noon()));
        QVERIFY(health.isWaiting(kBob, noon()));
        health.retryNow(3);
        QVERIFY(!health.hasFailed(3));
    }

    void aClockThatWasSetBackDoesNotProlongTheWait()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        QVERIFY(!health.isWaiting(kAlice, noon() - 1h));
    }

    void removedIdentitiesAreForgotten()
    {
        IdentityHealth health([] { return 0.0; });
        health.recordFailure(kAlice, QStringLiteral("no"), noon());
        health.recordFailure(kBob, QStringLiteral("no"), noon());
        health.retain({kBob});
        QVERIFY(!health.hasFailed(kAlice));
        QVERIFY(health.hasFailed(kBob));
    }
};

VELMORA_TEST(IdentityHealthTest)
#include "identity_health_test.moc"
