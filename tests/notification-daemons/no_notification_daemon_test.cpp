// SPDX-License-Identifier: MIT
#include "fake_notification_daemon.h"
#include "notifications/desktop_notifications.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_notification_server.h"
#include "support/test_main.h"

#include <QDBusMessage>
#include <QFile>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using Kind = NotificationError::Kind;

namespace
{

DeploymentSnapshot failed()
{
    return makeSnapshot(QStringLiteral("D1"), DeploymentState::Failure, noon());
}

DesktopSession sandbox()
{
    DesktopSession session;
    session.isSandboxed = true;
    return session;
}

/// Makes the notification service activatable, by a program that fails to start.
void makeActivatable(const QByteArray &name)
{
    QFile file(qEnvironmentVariable("VELMORA_TEST_SERVICES") + QStringLiteral("/notifications.service"));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("run this test under with-private-desktop");
    file.write("[D-BUS Service]\nName=" + name + "\nExec=/bin/false\n");
    file.close();
    const QDBusMessage reload = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("ReloadConfig"));
    const QDBusMessage answer = connectToTestBus(QStringLiteral("reload")).call(reload);
    if (answer.type() != QDBusMessage::ReplyMessage)
        qFatal("%s", qPrintable(answer.errorMessage()));
}

} // namespace

class NoNotificationDaemonTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutAServiceEveryOperationIsAnErrorAtOnce_data()
    {
        QTest::addColumn<bool>("isSandboxed");
        QTest::newRow("desktop") << false;
        QTest::newRow("sandbox") << true;
    }
    void withoutAServiceEveryOperationIsAnErrorAtOnce()
    {
        QFETCH(bool, isSandboxed);
        const auto service = makeService(isSandboxed ? sandbox() : DesktopSession());
        const NotificationError expected(Kind::NoServer);
        QVERIFY(await(service->requestAuthorizationIfNeeded()).failedWith(expected));
        QVERIFY(await(service->notifyFailure(failed())).failedWith(expected));
        QVERIFY(await(service->notifySuccess(failed())).failedWith(expected));
    }

    void withoutABusEveryOperationIsAnErrorAtOnce()
    {
        const QDBusConnection none
            = QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("none"));
        QVERIFY(!none.isConnected());
        const auto service
            = desktopNotificationService(none, m_opener, m_clock, QStringLiteral("Velmora"), DesktopSession());
        const NotificationError expected(Kind::NoServer);
        QVERIFY(await(service->requestAuthorizationIfNeeded()).failedWith(expected));
        QVERIFY(await(service->notifyFailure(failed())).failedWith(expected));
    }

    void aServiceThatAppearsIsUsedByTheNextOperation()
    {
        const auto service = makeService(DesktopSession());
        QVERIFY(await(service->requestAuthorizationIfNeeded()).failedWith(NotificationError(Kind::NoServer)));
        FakeNotificationDaemon daemon(QStringLiteral("daemon"));
        daemon.appear();
        QVERIFY(awaitValue(service->requestAuthorizationIfNeeded()));
        awaitValue(service->notifyFailure(failed()));
        QCOMPARE(daemon.notified.size(), 1);
    }

    // This test is last, because the bus keeps the service file.
    void aServiceThatCanBeStartedIsNoErrorUntilItFailsToStart()
    {
        makeActivatable("org.freedesktop.Notifications");
        const auto service = makeService(DesktopSession());
        QVERIFY(awaitValue(service->requestAuthorizationIfNeeded()));
        QVERIFY(await(service->notifyFailure(failed())).failedWith(NotificationError(Kind::NoServer)));
    }

private:
    std::unique_ptr<UserNotificationService> makeService(const DesktopSession &session)
    {
        return desktopNotificationService(
            connectToTestBus(QStringLiteral("client")), m_opener, m_clock, QStringLiteral("Velmora"), session);
    }

    FakeURLOpener m_opener;
    FakeClock m_clock;
};

VELMORA_TEST(NoNotificationDaemonTest)
#include "no_notification_daemon_test.moc"
