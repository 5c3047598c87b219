// SPDX-License-Identifier: MIT
#include "github/pausing_session.h"

#include "client_fixture.h"
#include "github/deployment_client_error.h"
#include "github/paused_error.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class PausingSessionTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void duringAPauseNothingIsSent()
    {
        ClientFixture fixture;
        const auto ledger = std::make_shared<RateLimitLedger>();
        const auto client = clientOfIdentity(fixture.client, ledger, 1);
        ledger->recordRefusal(1, {}, fixture.clock.now());
        const Instant until = fixture.clock.now() + 60s;
        const auto refused = await(client.fetchInstallations(text("t")));
        QVERIFY(refused.failedWith(PausedError(until)));
        QVERIFY(fixture.session->requests.isEmpty());
        fixture.clock.setNow(until);
        fixture.session->enqueue(200, R"({"installations":[]})");
        QVERIFY(awaitValue(client.fetchInstallations(text("t"))).isEmpty());
    }

    void thePauseOfAnotherIdentityHoldsNothing()
    {
        ClientFixture fixture;
        const auto ledger = std::make_shared<RateLimitLedger>();
        ledger->recordRefusal(2, {}, fixture.clock.now());
        fixture.session->enqueue(200, R"({"installations":[]})");
        QVERIFY(awaitValue(clientOfIdentity(fixture.client, ledger, 1).fetchInstallations(text("t"))).isEmpty());
    }

    void aPauseIsARateLimitThatEndsWhenItDoes()
    {
        const Instant until = *parseISO8601(u"2026-05-01T12:00:00Z");
        const auto notice = rateLimitOf(std::make_exception_ptr(PausedError(until)));
        QVERIFY(notice);
        QCOMPARE(notice->resumeAt, std::optional(until));
    }

    void aPauseNamesTheFirstWholeMinuteAfterIt()
    {
        QCOMPARE(PausedError(*parseISO8601(u"2026-05-01T12:00:00Z")).description(),
            text("GitHub asks to wait until 12:00."));
        QCOMPARE(PausedError(*parseISO8601(u"2026-05-01T12:00:01Z")).description(),
            text("GitHub asks to wait until 12:01."));
    }
};

VELMORA_TEST(PausingSessionTest)
#include "pausing_session_test.moc"
