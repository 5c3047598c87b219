// SPDX-License-Identifier: MIT
#include "platform/glib_network_watch.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

#include <gio/gio.h>

using namespace velmora;
using namespace velmora::testing;

namespace
{

/// Makes GLib's network monitor emit its signal, as if the network had changed.
void changeNetwork(bool isAvailable)
{
    g_signal_emit_by_name(g_network_monitor_get_default(), "network-changed", isAvailable ? TRUE : FALSE);
}

} // namespace

class GLibNetworkWatchTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aChangeOfTheNetworkIsHeard()
    {
        GLibNetworkWatch watch;
        QSignalSpy changes(&watch, &GLibNetworkWatch::networkChanged);
        awaitValue(watch.start());
        changes.clear();
        changeNetwork(false);
        changeNetwork(true);
        QCOMPARE(changes.count(), 2);
        QCOMPARE(changes.at(0).at(0).toBool(), false);
        QCOMPARE(changes.at(1).at(0).toBool(), true);
    }

    void nothingIsHeardBeforeTheStart()
    {
        const GLibNetworkWatch watch;
        const QSignalSpy changes(&watch, &GLibNetworkWatch::networkChanged);
        changeNetwork(true);
        QCOMPARE(changes.count(), 0);
    }

    void aSecondStartHearsNothingTwice()
    {
        GLibNetworkWatch watch;
        awaitValue(watch.start());
        awaitValue(watch.start());
        const QSignalSpy changes(&watch, &GLibNetworkWatch::networkChanged);
        changeNetwork(true);
        QCOMPARE(changes.count(), 1);
    }

    void theMonitorOutlivesTheWatch()
    {
        {
            GLibNetworkWatch watch;
            awaitValue(watch.start());
        }
        changeNetwork(true);
    }

    void theWatchMayEndBeforeItHasStarted()
    {
        auto watch = std::make_unique<GLibNetworkWatch>();
        const auto starting = start(watch->start());
        watch.reset();
        QVERIFY(waitUntil([&] { return starting->isDone; }));
        QVERIFY(!starting->failure);
        changeNetwork(true);
    }
};

VELMORA_TEST(GLibNetworkWatchTest)
#include "glib_network_watch_test.moc"
