// SPDX-License-Identifier: MIT
#include "fake_notification_daemon.h"
#include "fake_portal.h"
#include "notifications/desktop_notifications.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_notification_server.h"
#include "support/hostile_texts.h"
#include "support/test_main.h"

#include <QDBusArgument>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

DeploymentSnapshot failed(const QString &id = QStringLiteral("D1"))
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

const QString kPage = QStringLiteral("https://github.com/acme/web/deployments");
const QString kApplication = QStringLiteral("com.tarvik.Velmora");

} // namespace

class PortalNotificationTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_portal = std::make_unique<FakePortal>();
        m_opener = std::make_unique<FakeURLOpener>();
        m_service = makeService(UserNotificationService::kBound);
    }
    void cleanup()
    {
        m_service.reset();
        m_portal.reset();
        drainEvents();
    }

    void aNotificationIsAddedWithItsTextsAndItsButton()
    {
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_portal->added.size(), 1);
        const QVariantMap properties = m_portal->added.at(0).properties;
        QCOMPARE(properties.value(QStringLiteral("title")).toString(), QStringLiteral("acme/web failed"));
        QCOMPARE(properties.value(QStringLiteral("body")).toString(),
            QStringLiteral("production:\nThe deployment did not complete successfully."));
        QCOMPARE(properties.value(QStringLiteral("priority")).toString(), QStringLiteral("normal"));
        QCOMPARE(properties.value(QStringLiteral("default-action")).toString(), QStringLiteral("open"));
        QVERIFY(!properties.contains(QStringLiteral("sound")));
        const auto sent = properties.value(QStringLiteral("buttons")).value<QDBusArgument>();
        QCOMPARE(sent.currentSignature(), QStringLiteral("aa{sv}"));
        const auto buttons = qdbus_cast<QList<QVariantMap>>(sent);
        const QVariantMap expected{
            {QStringLiteral("label"), QStringLiteral("Open log")}, {QStringLiteral("action"), QStringLiteral("open")}};
        QCOMPARE(buttons, QList<QVariantMap>{expected});
    }

    void aPortalThatKnowsSoundsIsAskedForOne()
    {
        m_portal->version = 2;
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_portal->added.at(0).properties.value(QStringLiteral("sound")).toString(), QStringLiteral("default"));
    }

    void everyHostileTextIsSentAsItIsShown()
    {
        const QList<HostileText> texts = hostileTexts();
        for (const HostileText &text : texts) {
            auto deployment = failed();
            deployment.statusDescription = text.given;
            awaitValue(m_service->notifyFailure(deployment));
            const QString first
                = QStringLiteral("production") + (text.shown.isEmpty() ? QString() : QStringLiteral(":\n"));
            QCOMPARE(
                m_portal->added.constLast().properties.value(QStringLiteral("body")).toString(), first + text.shown);
        }
    }

    void theSameResultHasTheSameNameAndAnotherHasNot()
    {
        awaitValue(m_service->notifyFailure(failed()));
        awaitValue(m_service->notifyFailure(failed()));
        awaitValue(m_service->notifyFailure(failed(QStringLiteral("D2"))));
        QCOMPARE(m_portal->added.at(0).name, m_portal->added.at(1).name);
        QVERIFY(m_portal->added.at(0).name != m_portal->added.at(2).name);
        QCOMPARE(m_portal->removed, QStringList());
    }

    void aHostileIdentifierHasAnOrdinaryName()
    {
        awaitValue(m_service->notifyFailure(failed(QStringLiteral("\n/../%s").repeated(5'000))));
        static const QRegularExpression ordinary(QStringLiteral("^[0-9a-f]{32}$"));
        QVERIFY(ordinary.match(m_portal->added.at(0).name).hasMatch());
    }

    void aClickOpensThePageOnce()
    {
        awaitValue(m_service->notifyFailure(failed()));
        const QString name = m_portal->added.at(0).name;
        m_portal->activate(QStringLiteral("another"), QStringLiteral("open"), {});
        m_portal->activate(name, QStringLiteral("another"), {});
        m_portal->activate(name, QStringLiteral("open"), {});
        m_portal->activate(name, QStringLiteral("open"), {});
        QVERIFY(waitUntil([this] { return !m_opener->opened.isEmpty(); }));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_opener->opened, QStringList{kPage});
    }

    void theSecondButtonMutesTheRepositoryOnce()
    {
        QStringList muted;
        m_service->setMuting([&muted](const QString &repositoryNodeID) { muted.append(repositoryNodeID); });
        awaitValue(m_service->notifyFailure(failed()));
        const auto sent = m_portal->added.at(0).properties.value(QStringLiteral("buttons")).value<QDBusArgument>();
        const auto buttons = qdbus_cast<QList<QVariantMap>>(sent);
        QCOMPARE(buttons.size(), 2);
        const QVariantMap expected{
            {QStringLiteral("label"), QStringLiteral("Mute web")}, {QStringLiteral("action"), QStringLiteral("mute")}};
        QCOMPARE(buttons.at(1), expected);
        const QString name = m_portal->added.at(0).name;
        m_portal->activate(name, QStringLiteral("mute"), {});
        m_portal->activate(name, QStringLiteral("mute"), {});
        QVERIFY(waitUntil([&muted] { return !muted.isEmpty(); }));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(muted, QStringList(QStringLiteral("R_web")));
        QCOMPARE(m_opener->opened, QStringList());
    }

    void theTokenOfNewerPortalsGoesToTheBrowser()
    {
        awaitValue(m_service->notifyFailure(failed()));
        const QVariantMap platform{{QStringLiteral("activation-token"), QStringLiteral("token")}};
        m_portal->activate(m_portal->added.at(0).name, QStringLiteral("open"), {QStringLiteral("target"), platform});
        QVERIFY(waitUntil([this] { return !m_opener->opened.isEmpty(); }));
        QCOMPARE(m_opener->opened, QStringList{kPage + QStringLiteral(" token")});
    }

    void aGroupKeepsItsNameAsItGrowsAndSoundsOnlyOnce()
    {
        m_portal->version = 2;
        for (int i = 0; i < 6; ++i)
            awaitValue(m_service->notifyFailure(failed(QStringLiteral("D%1").arg(i))));
        QStringList sounds;
        QStringList names;
        for (const auto &[name, properties] : std::as_const(m_portal->added)) {
            sounds.append(properties.value(QStringLiteral("sound")).toString());
            names.append(name);
        }
        const QString heard = QStringLiteral("default");
        const QString silent = QStringLiteral("silent");
        QCOMPARE(sounds, (QStringList{heard, heard, heard, heard, silent, silent}));
        QCOMPARE(names.at(4), names.at(3));
        QCOMPARE(names.at(5), names.at(3));
        QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), 4);
        const QVariantMap last = m_portal->added.constLast().properties;
        QCOMPARE(last.value(QStringLiteral("title")).toString(), QStringLiteral("6 deployments failed"));
        // There is no window to open.
        QVERIFY(!last.contains(QStringLiteral("default-action")));
        QVERIFY(!last.contains(QStringLiteral("buttons")));
    }

    void aClickOnAGroupOpensTheWindowWithTheToken()
    {
        QStringList tokens;
        m_service->setWindowOpener([&tokens](const QString &activationToken) { tokens.append(activationToken); });
        const DeploymentList deployments{failed(), failed(QStringLiteral("D2"))};
        awaitValue(m_service->notifyGroup(deployments, DeploymentNotificationKind::Failure));
        const auto sent = m_portal->added.at(0).properties.value(QStringLiteral("buttons")).value<QDBusArgument>();
        const auto buttons = qdbus_cast<QList<QVariantMap>>(sent);
        QCOMPARE(buttons.value(0).value(QStringLiteral("label")).toString(), QStringLiteral("Open Velmora"));
        const QVariantMap platform{{QStringLiteral("activation-token"), QStringLiteral("token")}};
        m_portal->activate(m_portal->added.at(0).name, QStringLiteral("open"), {QStringLiteral("target"), platform});
        QVERIFY(waitUntil([&tokens] { return !tokens.isEmpty(); }));
        QCOMPARE(tokens, QStringList{QStringLiteral("token")});
        QCOMPARE(m_opener->opened, QStringList());
    }

    void thePermissionIsThatOfTheStore_data()
    {
        QTest::addColumn<QStringList>("stored");
        QTest::addColumn<QString>("application");
        QTest::addColumn<bool>("isGranted");
        QTest::newRow("on") << QStringList{QStringLiteral("yes")} << kApplication << true;
        QTest::newRow("off") << QStringList{QStringLiteral("no")} << kApplication << false;
        QTest::newRow("nothing") << QStringList() << kApplication << true;
        QTest::newRow("another application")
            << QStringList{QStringLiteral("no")} << QStringLiteral("org.other") << true;
    }
    void thePermissionIsThatOfTheStore()
    {
        QFETCH(QStringList, stored);
        QFETCH(QString, application);
        QFETCH(bool, isGranted);
        m_portal->permissions = {{application, stored}};
        QCOMPARE(awaitValue(m_service->requestAuthorizationIfNeeded()), isGranted);
        const QVariantList expected{QStringLiteral("notifications"), QStringLiteral("notification")};
        QCOMPARE(m_portal->lookups, QList<QVariantList>{expected});
        QCOMPARE(m_portal->added.size(), 0);
    }

    void withNothingStoredThereIsNoRefusal()
    {
        m_portal->storesPermissions = false;
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
    }

    void aStoreThatHangsIsNoRefusalAndHoldsNobodyUp()
    {
        m_portal->storeHangs = true;
        m_service = makeService(200ms);
        QElapsedTimer watch;
        watch.start();
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
        QVERIFY(watch.elapsed() < 2'000);
    }

    void aPortalThatHangsHoldsNobodyUp()
    {
        m_portal->isHanging = true;
        m_service = makeService(200ms);
        QElapsedTimer watch;
        watch.start();
        QVERIFY(
            await(m_service->notifyFailure(failed())).failedWith(NotificationError(NotificationError::Kind::TimedOut)));
        QVERIFY(watch.elapsed() < 2'000);
    }

    void twoPostsAtOnceTakeNothingAway()
    {
        const auto first = start(m_service->notifyFailure(failed()));
        awaitValue(m_service->notifyFailure(failed()));
        QVERIFY(waitUntil([&] { return first->isDone; }));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_portal->removed, QStringList());
    }

    void whatIsWithdrawnIsRemoved()
    {
        DesktopSession session;
        session.isSandboxed = true;
        const auto server = desktopNotificationServer(connectToTestBus(QStringLiteral("client")), session, QString());
        server->withdraw(QStringLiteral("name"));
        QVERIFY(waitUntil([this] { return m_portal->removed == QStringList{QStringLiteral("name")}; }));
    }

private:
    std::unique_ptr<UserNotificationService> makeService(std::chrono::milliseconds bound)
    {
        DesktopSession session;
        session.isSandboxed = true;
        const QDBusConnection bus = connectToTestBus(QStringLiteral("client"));
        return std::make_unique<UserNotificationService>(
            desktopNotificationServer(bus, session, QStringLiteral("Velmora")),
            desktopNotificationPermission(bus, session), *m_opener, m_clock, bound);
    }

    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<FakeURLOpener> m_opener;
    FakeClock m_clock;
    std::unique_ptr<UserNotificationService> m_service;
};

VELMORA_TEST(PortalNotificationTest)
#include "portal_notification_test.moc"
