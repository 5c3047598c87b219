// SPDX-License-Identifier: MIT
#include "notifications/waiting_notifier.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class WaitingNotifierTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itIsNeverReadyAndEndsWithTheStop()
    {
        WaitingNotifier notifier;
        QVERIFY(awaitValue(notifier.requestAuthorizationIfNeeded()));
        std::stop_source stop;
        const auto ready = start(notifier.untilReady(stop.get_token()));
        drainEvents();
        QVERIFY(!ready->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return ready->isDone; }));
        QVERIFY(ready->failedWithType<CancellationError>());
        QVERIFY(start(notifier.notifyGroup({}, DeploymentNotificationKind::Failure))->isDone);
    }
};

VELMORA_TEST(WaitingNotifierTest)
#include "waiting_notifier_test.moc"
