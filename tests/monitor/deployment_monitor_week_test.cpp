// SPDX-License-Identifier: MIT
#include "support/monitor_fixture.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

struct Counters {
    int queries = 0;
    int lists = 0;
};

/// A GitHub that always gives the same answer, without building it each time: this test is about the loop.
HTTPResponse answer(const HTTPRequest &request, Counters &counters)
{
    const QByteArray path = request.url.path().toLatin1();
    if (path.endsWith("/graphql")) {
        ++counters.queries;
        return FakeHTTPSession::response(200,
            R"({"data":{"nodes":[{"id":"R_a","nameWithOwner":"alice/a","url":"https://github.com/alice/a",)"
            R"("deployments":{"nodes":[{"id":"a1","commitOid":"abc","state":"SUCCESS",)"
            R"("createdAt":"2026-05-01T12:00:00Z","updatedAt":"2026-05-01T12:00:00Z"}]}}],)"
            R"("rateLimit":{"cost":1,"remaining":5000,"resetAt":"2026-05-01T13:00:00Z"}}})");
    }
    ++counters.lists;
    if (path.endsWith("/repositories")) {
        return FakeHTTPSession::response(200,
            R"({"repositories":[{"id":1,"node_id":"R_a","full_name":"alice/a",)"
            R"("html_url":"https://github.com/alice/a","private":true}]})");
    }
    return FakeHTTPSession::response(200,
        R"({"installations":[{"id":7,"repository_selection":"all",)"
        R"("account":{"id":1000,"login":"alice","type":"User"}}]})");
}

} // namespace

/// A week of the polling loop on a fake clock, which makes it a moment.
class DeploymentMonitorWeekTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWeekOfPollingKeepsItsRhythm()
    {
        MonitorFixture f;
        f.connect(1, QStringLiteral("alice"));
        f.build();
        Counters counters;
        f.github.session->handler = [&counters](const HTTPRequest &request) {
            return answer(request, counters);
        };
        f.monitor->start(f.authentication.get(), f.installations.get());
        f.clock.advance(7 * 24h);

        // Every 30 seconds from the fifth on; every hour the one page of installations and the one of repositories.
        QCOMPARE(counters.queries, 7 * 24 * 3600 / 30);
        QCOMPARE(counters.lists, 7 * 24 * 2);
        // Every five minutes, and once for the result that left the list.
        QVERIFY(f.cache.saves <= 7 * 24 * 12 + 1);
        QVERIFY(f.clock.now() - f.cache.payload->savedAt <= 5min);
        QCOMPARE(f.clock.requestedSleeps.size(), 7 * 24 * 3600 / 5 + 1);
        QCOMPARE(f.monitor->state().state, DeploymentMonitorState::Case::Ready);
        // The result was shown for a day, and is not shown any more.
        QVERIFY(f.monitor->deployments().isEmpty());
        QCOMPARE(f.github.session->mostOpenRequests, 1);
        QCOMPARE(f.notifier.announced, QStringList());
    }
};

VELMORA_TEST(DeploymentMonitorWeekTest)
#include "deployment_monitor_week_test.moc"
