// SPDX-License-Identifier: MIT
#include "notifications/freedesktop_notification_server.h"

#include "fake_notification_daemon.h"
#include "notifications/desktop_notifications.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_notification_server.h"
#include "support/test_main.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

using namespace velmora;
using namespace velmora::testing;
using Kind = NotificationError::Kind;
using namespace std::chrono_literals;

namespace
{

DeploymentSnapshot failed(const QString &id = QStringLiteral("D1"))
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

const QString kPage = QStringLiteral("https://github.com/acme/web/deployments");

QVariantMap hintsOf(const QVariantList &notified)
{
    return qdbus_cast<QVariantMap>(notified.at(6));
}

/// Counts the signals about notifications from any program on the bus.
class SignalCounter final : public QObject
{
    Q_OBJECT

public:
    SignalCounter(QDBusConnection bus, const QString &signal)
    {
        bus.connect(QString(), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), signal, this, SLOT(note(QDBusMessage)));
    }
    [[nodiscard]] int count() const { return m_count; }

private Q_SLOTS:
    void note(const QDBusMessage &) { ++m_count; }

private:
    int m_count = 0;
};

} // namespace

class FreedesktopNotificationServerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_daemon = std::make_unique<FakeNotificationDaemon>(QStringLiteral("daemon"));
        m_daemon->appear();
        m_opener = std::make_unique<FakeURLOpener>();
        m_service = makeService(UserNotificationService::kBound);
    }
    void cleanup()
    {
        m_service.reset();
        m_daemon.reset();
        drainEvents();
    }

    void everyArgumentIsAsTheProtocolWantsIt()
    {
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_daemon->notifySignatures, QStringList{QStringLiteral("susssasa{sv}i")});
        const QVariantList notified = m_daemon->notified.at(0);
        QCOMPARE(notified.at(0).toString(), QStringLiteral("Velmora Demo"));
        QCOMPARE(notified.at(1).toUInt(), 0U);
        QCOMPARE(notified.at(2).toString(), QStringLiteral("com.tarvik.Velmora"));
        QCOMPARE(notified.at(3).toString(), QStringLiteral("acme/web failed"));
        QCOMPARE(
            notified.at(4).toString(), QStringLiteral("production:\nThe deployment did not complete successfully."));
        const QStringList actions{
            QStringLiteral("default"), QStringLiteral("Open"), QStringLiteral("view-log"), QStringLiteral("Open log")};
        QCOMPARE(notified.at(5).toStringList(), actions);
        const QVariantMap expected{{QStringLiteral("desktop-entry"), QStringLiteral("com.tarvik.Velmora")},
            {QStringLiteral("urgency"), QVariant::fromValue<uchar>(1)},
            {QStringLiteral("category"), QStringLiteral("transfer.error")}};
        const QVariantMap hints = hintsOf(notified);
        QCOMPARE(hints, expected);
        QCOMPARE(hints.value(QStringLiteral("urgency")).metaType(), QMetaType::fromType<uchar>());
        QCOMPARE(notified.at(7).toInt(), -1);
    }

    void theSoundIsAskedForWhereThereAreSounds()
    {
        m_daemon->capabilities = {QStringLiteral("sound")};
        awaitValue(m_service->notifySuccess(makeSnapshot(QStringLiteral("D1"), DeploymentState::Success, noon())));
        const QVariantList notified = m_daemon->notified.at(0);
        const QVariantMap hints = hintsOf(notified);
        QCOMPARE(hints.value(QStringLiteral("sound-name")).toString(), QStringLiteral("message-new-instant"));
        QCOMPARE(hints.value(QStringLiteral("category")).toString(), QStringLiteral("transfer.complete"));
        QCOMPARE(hints.value(QStringLiteral("urgency")), QVariant::fromValue<uchar>(1));
        QCOMPARE(notified.at(5).toStringList(), QStringList());
    }

    void aGroupThatGrowsReplacesItsNotificationAndSoundsOnlyOnce()
    {
        m_daemon->capabilities = {QStringLiteral("sound"), QStringLiteral("actions")};
        m_service->setWindowOpener([](const QString &) {});
        for (int i = 0; i < 6; ++i)
            awaitValue(m_service->notifyFailure(failed(QStringLiteral("D%1").arg(i))));
        QList<uint> replaced;
        QStringList sounds;
        for (const QVariantList &notified : std::as_const(m_daemon->notified)) {
            const QVariantMap hints = hintsOf(notified);
            replaced.append(notified.at(1).toUInt());
            sounds.append(hints.value(QStringLiteral("sound-name"), QStringLiteral("none")).toString());
            QCOMPARE(hints.value(QStringLiteral("suppress-sound")).toBool(), sounds.size() > 4);
        }
        QCOMPARE(replaced, (QList<uint>{0, 0, 0, 0, 4, 4}));
        const QString heard = QStringLiteral("message-new-instant");
        const QString none = QStringLiteral("none");
        QCOMPARE(sounds, (QStringList{heard, heard, heard, heard, none, none}));
        const QVariantList last = m_daemon->notified.constLast();
        QCOMPARE(last.at(3).toString(), QStringLiteral("6 deployments failed"));
        const QStringList actions{QStringLiteral("default"), QStringLiteral("Open"), QStringLiteral("view-log"),
            QStringLiteral("Open Velmora")};
        QCOMPARE(last.at(5).toStringList(), actions);
    }

    void theButtonThatMutesIsTheLastOneAndMutesOnce()
    {
        QStringList muted;
        m_service->setMuting([&muted](const QString &repositoryNodeID) { muted.append(repositoryNodeID); });
        awaitValue(m_service->notifyFailure(failed()));
        const QStringList actions{QStringLiteral("default"), QStringLiteral("Open"), QStringLiteral("view-log"),
            QStringLiteral("Open log"), QStringLiteral("mute"), QStringLiteral("Mute web")};
        QCOMPARE(m_daemon->notified.at(0).at(5).toStringList(), actions);
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("unmute")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {2U, QStringLiteral("mute")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("mute")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("mute")});
        settle();
        QCOMPARE(muted, QStringList(QStringLiteral("R_web")));
        QCOMPARE(m_opener->opened, QStringList());
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("view-log")});
        settle();
        QCOMPARE(m_opener->opened.size(), 1);
    }

    void theTokenOfAGroupGoesToTheWindow()
    {
        QStringList tokens;
        m_service->setWindowOpener([&tokens](const QString &activationToken) { tokens.append(activationToken); });
        const DeploymentList deployments{failed(), failed(QStringLiteral("D2"))};
        awaitValue(m_service->notifyGroup(deployments, DeploymentNotificationKind::Failure));
        m_daemon->emitSignal(QStringLiteral("ActivationToken"), {1U, QStringLiteral("token")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("view-log")});
        settle();
        QCOMPARE(tokens, QStringList{QStringLiteral("token")});
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aServerThatIsReplacedInTheMiddleOfABurstGetsTheWholeGroup()
    {
        for (int i = 0; i < 5; ++i)
            awaitValue(m_service->notifyFailure(failed(QStringLiteral("D%1").arg(i))));
        FakeNotificationDaemon next(QStringLiteral("next"));
        m_daemon->disappear();
        next.appear();
        drainEvents();
        for (int i = 5; i < 7; ++i)
            awaitValue(m_service->notifyFailure(failed(QStringLiteral("D%1").arg(i))));
        QCOMPARE(next.notified.size(), 2);
        QCOMPARE(next.notified.at(0).at(1).toUInt(), 0U);
        QCOMPARE(next.notified.at(1).at(1).toUInt(), 1U);
        QCOMPARE(next.notified.at(1).at(3).toString(), QStringLiteral("7 deployments failed"));
    }

    void theCapabilitiesAreAskedForOnceAndAgainOfEveryNewServer()
    {
        auto deployment = failed();
        deployment.statusDescription = QStringLiteral("<b>");
        awaitValue(m_service->notifyFailure(deployment));
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(m_daemon->capabilityQuestions, 1);
        QCOMPARE(m_daemon->notified.at(1).at(4).toString(), QStringLiteral("production:\n&lt;b&gt;"));

        FakeNotificationDaemon next(QStringLiteral("next"));
        next.capabilities = {QStringLiteral("body")};
        m_daemon->disappear();
        next.appear();
        drainEvents();
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(next.capabilityQuestions, 1);
        QCOMPARE(next.notified.at(0).at(4).toString(), QStringLiteral("production:\n<b>"));
    }

    void theSameIdentifierReplacesByItsNumber()
    {
        awaitValue(m_service->notifyFailure(failed(QStringLiteral("D0"))));
        awaitValue(m_service->notifyFailure(failed()));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_daemon->notified.at(2).at(1).toUInt(), 2U);
        QCOMPARE(m_daemon->closed, QList<uint>());
    }

    void aDismissedNotificationIsNotReplacedAndAnExpiredOneIs()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->emitSignal(QStringLiteral("NotificationClosed"), {1U, 1U});
        settle();
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_daemon->notified.at(1).at(1).toUInt(), 1U);
        for (const uint reason : {2U, 3U, 4U, 17U}) {
            const uint shown = static_cast<uint>(m_daemon->notified.size() - 1);
            m_daemon->emitSignal(QStringLiteral("NotificationClosed"), {shown, reason});
            settle();
            awaitValue(m_service->notifyFailure(failed()));
            QCOMPARE(m_daemon->notified.constLast().at(1).toUInt(), 0U);
        }
    }

    void aNumberOfAnEarlierServerIsNeverSentToTheNext()
    {
        awaitValue(m_service->notifyFailure(failed()));
        FakeNotificationDaemon next(QStringLiteral("next"));
        m_daemon->disappear();
        next.appear();
        // The client has not received the news of the change yet.
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(next.notified.size(), 1);
        QCOMPARE(next.notified.at(0).at(1).toUInt(), 0U);
        QCOMPARE(next.capabilityQuestions, 1);
    }

    void afterARestartTheNextPostWorks()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->disappear();
        drainEvents();
        QVERIFY(await(m_service->notifyFailure(failed())).failedWith(NotificationError(Kind::NoServer)));
        QVERIFY(await(m_service->requestAuthorizationIfNeeded()).failedWith(NotificationError(Kind::NoServer)));
        m_daemon->appear();
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_daemon->notified.constLast().at(1).toUInt(), 0U);
    }

    void aClickOpensThePageOnceWithItsToken()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->emitSignal(QStringLiteral("ActivationToken"), {1U, QStringLiteral("token")});
        for (int i = 0; i < 3; ++i)
            m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
        settle();
        QCOMPARE(m_opener->opened, QStringList{kPage + QStringLiteral(" token")});
    }

    void theButtonOpensThePageToo()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("view-log")});
        settle();
        QCOMPARE(m_opener->opened, QStringList{kPage});
    }

    void signalsThatAreNotForUsOpenNothing()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {2U, QStringLiteral("default")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("settings")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {QStringLiteral("1"), QStringLiteral("default")});
        m_daemon->emitSignal(QStringLiteral("ActionInvoked"), {});
        m_daemon->emitSignal(QStringLiteral("ActivationToken"), {1U});
        m_daemon->emitSignal(QStringLiteral("NotificationClosed"), {1U});
        settle();
        QCOMPARE(m_opener->opened, QStringList());
    }

    void whatAnotherProgramSaysInTheServersNameIsIgnored()
    {
        awaitValue(m_service->notifyFailure(failed()));
        FakeNotificationDaemon other(QStringLiteral("other"));
        const QDBusConnection bus = connectToTestBus(QStringLiteral("other"));
        const SignalCounter closures(connectToTestBus(QStringLiteral("client")), QStringLiteral("NotificationClosed"));
        other.emitSignal(QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
        other.emitSignal(QStringLiteral("NotificationClosed"), {1U, 2U});
        QVERIFY(waitUntil([&closures] { return closures.count() == 1; }));
        drainEvents();
        QCOMPARE(m_opener->opened, QStringList());
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_daemon->notified.at(1).at(1).toUInt(), 1U);
        QDBusConnection::disconnectFromBus(QStringLiteral("other"));
    }

    void anErrorOfTheServerKeepsItsName()
    {
        m_daemon->errorOfNotify = QStringLiteral("com.example.Refused");
        const auto outcome = await(m_service->notifyFailure(failed()));
        QVERIFY(outcome.failedWith(NotificationError(Kind::Failed, QStringLiteral("com.example.Refused"))));
        QVERIFY(!outcome.description().contains(QLatin1String("words of the server")));
    }

    void anAnswerThatIsNoNumberIsAnError()
    {
        m_daemon->answersWithText = true;
        const auto outcome = await(m_service->notifyFailure(failed()));
        QVERIFY(outcome.failedWith(
            NotificationError(Kind::Failed, QStringLiteral("org.freedesktop.DBus.Error.InvalidSignature"))));
    }

    void aServerThatHangsHoldsNobodyUp()
    {
        m_daemon->isHanging = true;
        m_service = makeService(300ms);
        int ticks = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&ticks] { ++ticks; });
        timer.start(10ms);
        QElapsedTimer watch;
        watch.start();
        const auto post = start(m_service->notifyFailure(failed()));
        const auto other = start(m_service->notifyFailure(failed(QStringLiteral("D2"))));
        QVERIFY(watch.elapsed() < 100);
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
        QVERIFY(!post->isDone);
        QVERIFY(waitUntil([&] { return post->isDone && other->isDone; }));
        QVERIFY(watch.elapsed() < 2'000);
        QVERIFY(ticks >= 5);
        QVERIFY(post->failedWith(NotificationError(Kind::TimedOut)));
        QVERIFY(other->failedWith(NotificationError(Kind::TimedOut)));
        m_daemon->isHanging = false;
        awaitValue(m_service->notifyFailure(failed()));
    }

    void aServerThatHangsAfterItsCapabilitiesHoldsNobodyUpEither()
    {
        m_service = makeService(300ms);
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->isHanging = true;
        QElapsedTimer watch;
        watch.start();
        QVERIFY(await(m_service->notifyFailure(failed())).failedWith(NotificationError(Kind::TimedOut)));
        QVERIFY(watch.elapsed() < 2'000);
    }

    void aServerThatHungIsNotReadyBeforeItAnswersAgain()
    {
        m_service = makeService(300ms);
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->isHanging = true;
        QVERIFY(await(m_service->notifyFailure(failed())).failedWith(NotificationError(Kind::TimedOut)));
        const int questions = m_daemon->capabilityQuestions;
        std::stop_source stop;
        const auto ready = start(m_service->untilReady(stop.get_token()));
        drainEvents();
        QVERIFY(!ready->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return ready->isDone; }));
        m_daemon->isHanging = false;
        awaitValue(m_service->untilReady({}));
        QCOMPARE(m_daemon->capabilityQuestions, questions + 1);
    }

    void theBoundIsUnderTenSeconds() { QVERIFY(UserNotificationService::kBound < 10s); }

    void aPostOutlivesTheService()
    {
        const auto post = start(m_service->notifyFailure(failed()));
        m_service.reset();
        QVERIFY(waitUntil([&] { return post->isDone; }));
        QVERIFY(!post->failure);
        QCOMPARE(m_daemon->notified.size(), 1);
    }

    void aNotificationThatWasPostedTwiceAtOnceIsWithdrawnOnce()
    {
        const auto first = start(m_service->notifyFailure(failed()));
        const auto second = start(m_service->notifyFailure(failed()));
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone && !m_daemon->closed.isEmpty(); }));
        QCOMPARE(m_daemon->closed, QList<uint>{1U});
    }

private:
    std::unique_ptr<UserNotificationService> makeService(std::chrono::milliseconds bound)
    {
        const QDBusConnection bus = connectToTestBus(QStringLiteral("client"));
        const DesktopSession session;
        return std::make_unique<UserNotificationService>(
            desktopNotificationServer(bus, session, QStringLiteral("Velmora Demo")),
            desktopNotificationPermission(bus, session), *m_opener, m_clock, bound);
    }

    /// Completes a call to the daemon; messages that were sent before it have then arrived, too.
    void settle()
    {
        const DesktopSession session;
        const auto server
            = desktopNotificationServer(connectToTestBus(QStringLiteral("client")), session, QStringLiteral("Settle"));
        const auto asked = server->capabilities(QDeadlineTimer(5s));
        const int questions = m_daemon->capabilityQuestions;
        QVERIFY(waitUntil([&] { return m_daemon->capabilityQuestions > questions; }));
        QVERIFY(waitUntil([&] { return asked.isReady(); }));
        drainEvents();
    }

    std::unique_ptr<FakeNotificationDaemon> m_daemon;
    std::unique_ptr<FakeURLOpener> m_opener;
    FakeClock m_clock;
    std::unique_ptr<UserNotificationService> m_service;
};

VELMORA_TEST(FreedesktopNotificationServerTest)
#include "freedesktop_notification_server_test.moc"
