// SPDX-License-Identifier: MIT
#include "http/proxy_lookup.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

const QUrl kAddress(QStringLiteral("https://a.test/path?token=secret"));
const Proxy kProxy{Proxy::Kind::HTTP, QStringLiteral("p.test"), 3128, {}, {}};

/// A system that answers when the test permits it.
struct SlowSystem {
    QSemaphore allowed;
    std::atomic<int> questions = 0;
    QUrl lastAddress;
    bool wasOnMainThread = false;
};

/// The query shares ownership: a thread may still run when the test has ended.
ProxyLookup::SystemQuery queryOf(const std::shared_ptr<SlowSystem> &system)
{
    return [system](const QUrl &url) {
        ++system->questions;
        system->lastAddress = url;
        system->wasOnMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
        system->allowed.acquire();
        return kProxy;
    };
}

} // namespace

class ProxyLookupTest : public QObject
{
    Q_OBJECT

private:
    QList<std::shared_ptr<SlowSystem>> m_systems;

    std::shared_ptr<SlowSystem> slowSystem()
    {
        m_systems.append(std::make_shared<SlowSystem>());
        return m_systems.last();
    }

private Q_SLOTS:
    /// Lets all waiting threads finish and release their systems.
    void cleanup()
    {
        for (const auto &system : std::as_const(m_systems))
            system->allowed.release(10);
        const auto isLetGo = [](const std::shared_ptr<SlowSystem> &system) {
            return system.use_count() == 1;
        };
        QVERIFY(waitUntil([&] { return std::ranges::all_of(std::as_const(m_systems), isLetGo); }));
        m_systems.clear();
    }

    void init()
    {
        for (const char *name : {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
            qunsetenv(name);
    }

    void theSystemIsAskedOnAnotherThreadAndItsAnswerRemembered()
    {
        const auto system = slowSystem();
        const ProxyLookup lookup(queryOf(system));
        const auto first = start(lookup.proxyFor(kAddress, 10s, {}));
        const auto second = start(lookup.proxyFor(QUrl(QStringLiteral("https://a.test/other")), 10s, {}));
        QVERIFY(waitUntil([&] { return system->questions == 1; }));
        drainEvents();
        QVERIFY(!first->isDone && !second->isDone);
        QCOMPARE(lookup.lastKnown(kAddress).kind, Proxy::Kind::None);
        system->allowed.release();
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(*first->value, kProxy);
        QCOMPARE(*second->value, kProxy);
        QCOMPARE(awaitValue(lookup.proxyFor(kAddress, 10s, {})), kProxy);
        QCOMPARE(lookup.lastKnown(kAddress), kProxy);
        QCOMPARE(lookup.lastKnown(QUrl(QStringLiteral("https://A.test:443/x"))), kProxy);
        QCOMPARE(lookup.lastKnown(QUrl(QStringLiteral("https://a.test:444/x"))).kind, Proxy::Kind::None);
        QCOMPARE(system->questions, 1);
        QVERIFY(!system->wasOnMainThread);
        // The script may be foreign and must not learn more than the host.
        QCOMPARE(system->lastAddress, QUrl(QStringLiteral("https://a.test")));
    }

    void anAnswerIsForgottenAfterItsTime()
    {
        const auto system = slowSystem();
        system->allowed.release(2);
        constexpr auto kRememberedFor = 200ms;
        const ProxyLookup lookup(queryOf(system), kRememberedFor);
        QElapsedTimer timer;
        timer.start();
        const auto asks = [&](int questions) {
            return awaitValue(lookup.proxyFor(kAddress, 10s, {})) == kProxy && system->questions == questions;
        };
        QVERIFY(waitUntil([&] { return asks(2); }));
        QVERIFY(timer.elapsed() >= std::chrono::milliseconds(kRememberedFor).count());
    }

    void afterBeingAbandonedItAsksAnew()
    {
        const auto system = slowSystem();
        system->allowed.release(2);
        ProxyLookup lookup(queryOf(system));
        QCOMPARE(awaitValue(lookup.proxyFor(kAddress, 10s, {})), kProxy);
        lookup.abandon();
        QCOMPARE(lookup.lastKnown(kAddress), kProxy);
        QCOMPARE(awaitValue(lookup.proxyFor(kAddress, 10s, {})), kProxy);
        QCOMPARE(system->questions, 2);
    }

    void aSystemThatDoesNotAnswerEndsWithThePatience()
    {
        const auto system = slowSystem();
        const ProxyLookup lookup(queryOf(system));
        const auto outcome = await(lookup.proxyFor(kAddress, 30ms, {}));
        QVERIFY(outcome.failedWithType<TransportError>());
        system->allowed.release();
    }

    void aStopEndsTheWaiting()
    {
        const auto system = slowSystem();
        const ProxyLookup lookup(queryOf(system));
        std::stop_source stop;
        const auto outcome = start(lookup.proxyFor(kAddress, 10s, stop.get_token()));
        stop.request_stop();
        QVERIFY(!outcome->isDone);
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QVERIFY(outcome->failedWithType<CancellationError>());
        system->allowed.release();
    }

    void theEndOfTheLookupFailsWhoWaitsOnTheSpot()
    {
        const auto system = slowSystem();
        auto lookup = std::make_unique<ProxyLookup>(queryOf(system));
        const auto outcome = start(lookup->proxyFor(kAddress, 10s, {}));
        lookup.reset();
        QVERIFY(outcome->isDone);
        QVERIFY(outcome->failedWithType<TransportError>());
        system->allowed.release();
    }

    void theEnvironmentIsAskedFirst()
    {
        const auto system = slowSystem();
        const ProxyLookup lookup(queryOf(system));
        qputenv("HTTPS_PROXY", "http://env.test:1");
        QCOMPARE(awaitValue(lookup.proxyFor(kAddress, 10s, {})).host, QStringLiteral("env.test"));
        QCOMPARE(lookup.lastKnown(kAddress).host, QStringLiteral("env.test"));
        const QUrl here(QStringLiteral("http://127.0.0.1:80/"));
        QCOMPARE(awaitValue(lookup.proxyFor(here, 10s, {})).kind, Proxy::Kind::None);
        QCOMPARE(system->questions, 0);
    }
};

VELMORA_TEST(ProxyLookupTest)
#include "proxy_lookup_test.moc"
