// SPDX-License-Identifier: MIT
#include "notifications/notification_service_watcher.h"

#include "notifications/desktop_notifications.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QDBusConnectionInterface>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kName = QStringLiteral("org.freedesktop.Notifications");

QDBusConnection daemon(const char *name)
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QString::fromLatin1(name));
}

} // namespace

class NotificationServiceWatcherTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("first"));
        QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    }

    void aServiceThatComesIsTold()
    {
        NotificationServiceWatcher watcher(QDBusConnection::sessionBus(), kName);
        const QSignalSpy appeared(&watcher, &NotificationServiceWatcher::appeared);
        QVERIFY(daemon("first").registerService(kName));
        QVERIFY(waitUntil([&] { return appeared.count() == 1; }));
    }

    void oneThatWasThereOrGoesIsNot()
    {
        QVERIFY(daemon("first").registerService(kName));
        NotificationServiceWatcher watcher(QDBusConnection::sessionBus(), kName);
        const QSignalSpy appeared(&watcher, &NotificationServiceWatcher::appeared);
        QVERIFY(daemon("first").unregisterService(kName));
        QVERIFY(daemon("second").registerService(kName));
        QVERIFY(waitUntil([&] { return appeared.count() > 0; }));
        QCOMPARE(appeared.count(), 1);
    }

    void aServiceThatReplacesAnotherIsTold()
    {
        auto *interface = daemon("first").interface();
        QVERIFY(interface->registerService(
            kName, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::AllowReplacement));
        NotificationServiceWatcher watcher(QDBusConnection::sessionBus(), kName);
        const QSignalSpy appeared(&watcher, &NotificationServiceWatcher::appeared);
        QVERIFY(daemon("second").interface()->registerService(
            kName, QDBusConnectionInterface::ReplaceExistingService, QDBusConnectionInterface::DontAllowReplacement));
        QVERIFY(waitUntil([&] { return appeared.count() == 1; }));
    }

    void outsideOfASandboxTheServiceOfTheDesktopIsWatched()
    {
        QCOMPARE(desktopNotificationServiceName(DesktopSession()), kName);
    }

    void inASandboxThePortalIsWatched()
    {
        DesktopSession sandbox;
        sandbox.isSandboxed = true;
        const QString portal = desktopNotificationServiceName(sandbox);
        QCOMPARE(portal, QStringLiteral("org.freedesktop.portal.Desktop"));
        NotificationServiceWatcher watcher(QDBusConnection::sessionBus(), portal);
        const QSignalSpy appeared(&watcher, &NotificationServiceWatcher::appeared);
        QVERIFY(daemon("first").registerService(kName));
        QVERIFY(daemon("first").registerService(portal));
        QVERIFY(waitUntil([&] { return appeared.count() > 0; }));
        QCOMPARE(appeared.count(), 1);
    }

    void withoutABusItKeepsQuiet()
    {
        NotificationServiceWatcher watcher(QDBusConnection(QStringLiteral("no such connection")), kName);
        const QSignalSpy appeared(&watcher, &NotificationServiceWatcher::appeared);
        QVERIFY(daemon("first").registerService(kName));
        QVERIFY(!waitUntil([&] { return appeared.count() > 0; }, 100));
    }
};

VELMORA_TEST(NotificationServiceWatcherTest)
#include "notification_service_watcher_test.moc"
