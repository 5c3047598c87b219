// SPDX-License-Identifier: MIT
#include "app/wake_sources.h"

#include "platform/bus_client.h"
#include "platform/wake_watch.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QTest>
#include <QThreadPool>

using namespace velmora;
using namespace velmora::testing;

class WakeSourcesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSleepIsReportedUntilTheSourcesEnd()
    {
        BusClient logind(QStringLiteral("logind"));
        QVERIFY(logind.bus().registerService(QStringLiteral("org.freedesktop.login1")));
        const QString name = QStringLiteral("sources");
        QString address;
        FakeClock clock;
        WakeWatch watch(&clock);
        {
            const WakeSources sources(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name), &watch);
            address = QDBusConnection(name).baseService();
            auto sleep = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
                QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
            sleep << true;
            logind.bus().send(sleep);
            QVERIFY(waitUntil([&] { return watch.isPaused(); }));
            QVERIFY(logind.hasOwner(address));
        }
        QVERIFY(waitUntil([&] { return !logind.hasOwner(address); }));
    }

    void withoutASystemBusTheNetworkIsStillWatched()
    {
        FakeClock clock;
        WakeWatch watch(&clock);
        {
            const WakeSources sources(QDBusConnection(QStringLiteral("no such connection")), &watch);
            drainEvents();
        }
        {
            const WakeSources ended(QDBusConnection(QStringLiteral("no such connection")), &watch);
        }
        // The network monitor is made on a thread, and arrives after its owner was destroyed.
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
        QCOMPARE(clock.sleeperCount(), 0);
    }
};

VELMORA_TEST(WakeSourcesTest)
#include "wake_sources_test.moc"
