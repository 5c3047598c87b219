// SPDX-License-Identifier: MIT
#include "support/monitor_fixture.h"

#include "support/test_main.h"

#include <QDir>
#include <QMetaMethod>
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

/// What a program may not take more and more of.
struct Holdings {
    qsizetype waits = 0; ///< on the clock
    int receivers = 0; ///< of signals
    qsizetype files = 0;
    qsizetype threads = 0;

    friend bool operator==(const Holdings &, const Holdings &) = default;
};

int receiversOf(const QObject &object)
{
    // The function is protected; a pointer to it calls it for any object.
    struct Opened : QObject {
        using QObject::receivers;
    };
    int count = 0;
    for (int i = 0; i < object.metaObject()->methodCount(); ++i) {
        const QMetaMethod method = object.metaObject()->method(i);
        if (method.methodType() == QMetaMethod::Signal)
            count += (object.*&Opened::receivers)(QByteArray("2" + method.methodSignature()).constData());
    }
    return count;
}

Holdings holdingsOf(const MonitorFixture &f)
{
    Holdings holdings;
    holdings.waits = f.clock.sleeperCount();
    for (const QObject *sender :
        {static_cast<const QObject *>(f.monitor.get()), static_cast<const QObject *>(f.authentication.get()),
            static_cast<const QObject *>(f.installations.get()), static_cast<const QObject *>(&f.defaults)})
        holdings.receivers += receiversOf(*sender);
    holdings.files = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    holdings.threads = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    return holdings;
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
        f.clock.advance(2 * 24h);
        const Holdings before = holdingsOf(f);
        QVERIFY(before.waits > 0 && before.receivers > 0 && before.files > 0 && before.threads > 0);
        f.clock.advance(5 * 24h);
        QVERIFY(holdingsOf(f) == before);

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
