// SPDX-License-Identifier: MIT
#include "notifications/user_notification_service.h"

#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_notification_server.h"
#include "support/hostile_texts.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using Kind = NotificationError::Kind;

namespace
{

DeploymentSnapshot failed(const QString &id = QStringLiteral("D1"))
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

DeploymentSnapshot succeeded(const QString &id = QStringLiteral("D1"))
{
    return makeSnapshot(id, DeploymentState::Success, noon());
}

DeploymentSnapshot failedWithLog(const char *log)
{
    DeploymentSnapshot deployment = failed();
    deployment.logURL = WebAddress(QString::fromUtf8(log));
    return deployment;
}

const QString kDeploymentsPage = QStringLiteral("https://github.com/acme/web/deployments");

} // namespace

class UserNotificationServiceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_server = std::make_shared<FakeNotificationServer>();
        m_permission = std::make_shared<FakeNotificationPermission>();
        m_opener = std::make_unique<FakeURLOpener>();
        m_service = std::make_unique<UserNotificationService>(m_server, m_permission, *m_opener, m_clock);
        m_failures = 0;
        m_windowTokens.clear();
        m_muted.clear();
    }

    void aFailureIsPostedWithItsTextsAndHints()
    {
        awaitValue(m_service->notifyFailure(failed()));
        const NotificationRequest expected{
            .server = QStringLiteral("first"),
            .identifier = QStringLiteral("D1:failure"),
            .replacedHandle = {},
            .summary = QStringLiteral("acme/web failed"),
            .body = QStringLiteral("production:\nThe deployment did not complete successfully."),
            .urgency = NotificationUrgency::Normal,
            .category = QStringLiteral("transfer.error"),
            .openLabel = QStringLiteral("Open log"),
            .muteLabel = {},
            .playsSound = false,
            .suppressesSound = false,
        };
        QCOMPARE(m_server->requests, QList{expected});
    }

    void aSuccessIsPostedWithItsTextsAndHints()
    {
        auto deployment = succeeded();
        deployment.statusDescription = QStringLiteral("Rolled out to 3 regions");
        awaitValue(m_service->notifySuccess(deployment));
        const NotificationRequest request = m_server->requests.value(0);
        QCOMPARE(request.identifier, QStringLiteral("D1:success"));
        QCOMPARE(request.summary, QStringLiteral("acme/web deployed"));
        QCOMPARE(request.body, QStringLiteral("production:\nRolled out to 3 regions"));
        QCOMPARE(request.urgency, NotificationUrgency::Normal);
        QCOMPARE(request.category, QStringLiteral("transfer.complete"));
    }

    void anEmptyDescriptionLeavesTheEnvironmentAlone()
    {
        auto deployment = failed();
        deployment.statusDescription = QString();
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(m_server->requests.value(0).body, QStringLiteral("production"));
    }

    void everyHostileTextIsShownAsItWasTyped_data()
    {
        QTest::addColumn<HostileText>("text");
        const QList<HostileText> texts = hostileTexts();
        QVERIFY(texts.size() >= 100);
        for (const HostileText &text : texts)
            QTest::newRow(text.name.c_str()) << text;
    }
    void everyHostileTextIsShownAsItWasTyped()
    {
        QFETCH(HostileText, text);
        auto deployment = failed();
        deployment.statusDescription = text.given;
        const QString prefix = text.shown.isEmpty() ? QStringLiteral("production") : QStringLiteral("production:\n");
        m_server->able.interpretsMarkup = false;
        awaitValue(m_service->notifyFailure(deployment));
        m_server->able.interpretsMarkup = true;
        awaitValue(m_service->notifyFailure(deployment));

        QCOMPARE(m_server->requests.size(), 2);
        QCOMPARE(m_server->requests.at(0).body, prefix + text.shown);
        QCOMPARE(m_server->requests.at(1).body, prefix + text.markup);
        for (const NotificationRequest &request : std::as_const(m_server->requests)) {
            QCOMPARE(request.summary, QStringLiteral("acme/web failed"));
            QCOMPARE(request.identifier, QStringLiteral("D1:failure"));
        }
        QCOMPARE(m_server->requests.at(1).replacedHandle, QStringLiteral("1"));
    }

    void actionsAndSoundsAreLeftToServersThatHaveThem()
    {
        m_server->able.hasActions = false;
        m_server->able.playsSounds = true;
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.at(0).openLabel, QString());
        QVERIFY(m_server->requests.at(0).playsSound);
    }

    void thePermissionIsNotAskedForBeforePosting()
    {
        m_permission->isOn = false;
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_permission->questions, 0);
        QCOMPARE(m_server->requests.size(), 1);
    }

    void theSameDeploymentAndStateReplacesTheEarlierNotification()
    {
        awaitValue(m_service->notifyFailure(failed()));
        awaitValue(m_service->notifyFailure(failed(QStringLiteral("D2"))));
        awaitValue(m_service->notifySuccess(succeeded()));
        awaitValue(m_service->notifyFailure(failed()));
        QStringList replaced;
        for (const NotificationRequest &request : std::as_const(m_server->requests))
            replaced.append(request.replacedHandle);
        const QStringList expected{{}, {}, {}, QStringLiteral("1")};
        QCOMPARE(replaced, expected);
        QCOMPARE(m_server->withdrawn, QStringList());
    }

    void whatWasClosedIsReplacedOnlyWhenItExpired_data()
    {
        QTest::addColumn<NotificationCloseReason>("reason");
        QTest::addColumn<QString>("replaced");
        QTest::newRow("expired") << NotificationCloseReason::Expired << QStringLiteral("1");
        QTest::newRow("dismissed") << NotificationCloseReason::Dismissed << QString();
        QTest::newRow("withdrawn") << NotificationCloseReason::Withdrawn << QString();
        QTest::newRow("unknown") << NotificationCloseReason::Unknown << QString();
    }
    void whatWasClosedIsReplacedOnlyWhenItExpired()
    {
        QFETCH(NotificationCloseReason, reason);
        QFETCH(QString, replaced);
        awaitValue(m_service->notifyFailure(failed()));
        Q_EMIT m_server->closed(QStringLiteral("99"), reason);
        Q_EMIT m_server->closed(QStringLiteral("1"), reason);
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.at(1).replacedHandle, replaced);
    }

    void nothingIsReplacedOnANewServer()
    {
        awaitValue(m_service->notifyFailure(failed()));
        Q_EMIT m_server->serverGone();
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.at(1).replacedHandle, QString());
    }

    void twoPostsOfOneResultAtTheSameTimeLeaveOneNotification()
    {
        m_server->gate = OneShot<>();
        const auto first = start(m_service->notifyFailure(failed()));
        const OneShot<> firstGate = *std::exchange(m_server->gate, std::nullopt);
        awaitValue(m_service->notifyFailure(failed()));
        firstGate.resolve();
        QVERIFY(first->isDone);
        QCOMPARE(m_server->withdrawn, QStringList{QStringLiteral("1")});
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList());
        Q_EMIT m_server->activated(QStringLiteral("2"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList{kDeploymentsPage});
    }

    void aServerThatChangedIsAskedAgainAndReplacesNothing()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_server->failures.push_back(std::make_exception_ptr(NotificationError(Kind::ServerChanged)));
        m_server->onFailure = [this] {
            m_server->able = {QStringLiteral("second"), false, false, false};
        };
        auto deployment = failed();
        deployment.statusDescription = QStringLiteral("<b>");
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(m_server->requests.size(), 3);
        QCOMPARE(m_server->requests.at(1).server, QStringLiteral("first"));
        QCOMPARE(m_server->requests.at(1).body, QStringLiteral("production:\n&lt;b&gt;"));
        QCOMPARE(m_server->requests.at(2).server, QStringLiteral("second"));
        QCOMPARE(m_server->requests.at(2).replacedHandle, QString());
        QCOMPARE(m_server->requests.at(2).body, QStringLiteral("production:\n<b>"));
    }

    void aServerThatChangesTwiceIsAnError()
    {
        const auto changed = std::make_exception_ptr(NotificationError(Kind::ServerChanged));
        m_server->failures = {changed, changed};
        const auto outcome = await(m_service->notifyFailure(failed()));
        QVERIFY(outcome.failedWith(NotificationError(Kind::ServerChanged)));
        QCOMPARE(m_server->requests.size(), 2);
    }

    void anErrorOfTheServerPassesUnchangedAndNothingIsRemembered()
    {
        const NotificationError refused(Kind::Failed, QStringLiteral("com.example.Refused"));
        m_server->failures.push_back(std::make_exception_ptr(refused));
        const auto outcome = await(m_service->notifyFailure(failed()));
        QVERIFY(outcome.failedWith(refused));
        QCOMPARE(
            outcome.description(), QStringLiteral("The notification service reported an error (com.example.Refused)."));
        QCOMPARE(m_server->requests.size(), 1);
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.at(1).replacedHandle, QString());
    }

    void anErrorThatIsNotOursPassesUnchangedToo()
    {
        m_server->failures.push_back(std::make_exception_ptr(FileError(QStringLiteral("no disk"))));
        QCOMPARE(await(m_service->notifySuccess(succeeded())).description(), QStringLiteral("no disk"));
    }

    void aClickOpensThePageOfThatNotificationOnce()
    {
        awaitValue(m_service->notifyFailure(failedWithLog("https://ci.example/1")));
        awaitValue(m_service->notifyFailure(failed(QStringLiteral("D2"))));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList{QStringLiteral("https://ci.example/1")});
        Q_EMIT m_server->activated(QStringLiteral("2"), NotificationAction::Open);
        QCOMPARE(m_opener->opened.value(1), kDeploymentsPage);
    }

    void aReplacementCanBeClickedAgainAndOpensItsOwnPage()
    {
        awaitValue(m_service->notifyFailure(failedWithLog("https://ci.example/1")));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        awaitValue(m_service->notifyFailure(failedWithLog("https://ci.example/2")));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        const QStringList expected{QStringLiteral("https://ci.example/1"), QStringLiteral("https://ci.example/2")};
        QCOMPARE(m_opener->opened, expected);
    }

    void aClickOnTheNotificationOfAnotherProgramOpensNothing()
    {
        awaitValue(m_service->notifyFailure(failed()));
        Q_EMIT m_server->activated(QStringLiteral("2"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList());
    }

    void theActivationTokenGoesToTheBrowser()
    {
        awaitValue(m_service->notifyFailure(failed()));
        Q_EMIT m_server->activationTokenReceived(QStringLiteral("1"), QStringLiteral("token"));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList{kDeploymentsPage + QStringLiteral(" token")});
    }

    void aLogThatIsNotOfTheWebIsNotOpenedButTheDeploymentsAre_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("script") << QStringLiteral("javascript:alert(1)");
        QTest::newRow("file") << QStringLiteral("file:///etc/passwd");
        QTest::newRow("option") << QStringLiteral("--help");
        QTest::newRow("relative") << QStringLiteral("example.com/log");
        QTest::newRow("other program") << QStringLiteral("vscode://open?x");
        QTest::newRow("data") << QStringLiteral("data:text/html,x");
        QTest::newRow("empty") << QString();
    }
    void aLogThatIsNotOfTheWebIsNotOpenedButTheDeploymentsAre()
    {
        QFETCH(QString, address);
        auto deployment = failed();
        deployment.logURL = WebAddress(address);
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(m_server->requests.at(0).openLabel, QStringLiteral("Open log"));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList{kDeploymentsPage});
    }

    void anAddressThatIsNotOfTheWebIsNeitherOfferedNorOpened()
    {
        auto deployment = failed();
        deployment.logURL = WebAddress(QStringLiteral("file:///etc/passwd"));
        deployment.repositoryURL = WebAddress(QStringLiteral("ssh://host/x"));
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(m_server->requests.at(0).openLabel, QString());
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aBrowserThatCannotBeStartedChangesNothing()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_opener->works = false;
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened.size(), 1);
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.at(1).replacedHandle, QStringLiteral("1"));
    }

    void aBurstIsThreeNotificationsAndOneThatGrows()
    {
        failMany(9);
        QStringList posted;
        for (const NotificationRequest &request : std::as_const(m_server->requests))
            posted.append(request.summary + QStringLiteral(" replaces ") + request.replacedHandle);
        const QStringList expected{QStringLiteral("acme/web1 failed replaces "),
            QStringLiteral("acme/web2 failed replaces "), QStringLiteral("acme/web3 failed replaces "),
            QStringLiteral("4 deployments failed replaces "), QStringLiteral("5 deployments failed replaces 4"),
            QStringLiteral("6 deployments failed replaces 4"), QStringLiteral("7 deployments failed replaces 4"),
            QStringLiteral("8 deployments failed replaces 4"), QStringLiteral("9 deployments failed replaces 4")};
        QCOMPARE(posted, expected);
        const NotificationRequest last = m_server->requests.constLast();
        QCOMPARE(last.body, QStringLiteral("acme/web1, acme/web2, acme/web3 and 6 more"));
        QCOMPARE(last.identifier, QStringLiteral("group:D1:failure"));
        QCOMPARE(last.urgency, NotificationUrgency::Normal);
        QCOMPARE(last.category, QStringLiteral("transfer.error"));
    }

    void afterHalfAMinuteResultsComeByThemselvesAgain()
    {
        failMany(4);
        m_clock.advance(std::chrono::seconds(31));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.constLast().summary, QStringLiteral("acme/web failed"));
    }

    void aResultThatIsOnShowIsNoFurtherOneOfABurst()
    {
        for (int i = 0; i < 5; ++i)
            awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.constLast().summary, QStringLiteral("acme/web failed"));
        QCOMPARE(m_server->requests.constLast().replacedHandle, QStringLiteral("1"));
    }

    void aClickOnAGroupOpensTheWindowOnceForEachRevision()
    {
        followWindow();
        failMany(4);
        QCOMPARE(m_server->requests.constLast().openLabel, QStringLiteral("Open Velmora"));
        Q_EMIT m_server->activationTokenReceived(QStringLiteral("4"), QStringLiteral("token"));
        Q_EMIT m_server->activated(QStringLiteral("4"), NotificationAction::Open);
        Q_EMIT m_server->activated(QStringLiteral("4"), NotificationAction::Open);
        QCOMPARE(m_windowTokens, QStringList{QStringLiteral("token")});
        failMany(1);
        Q_EMIT m_server->activated(QStringLiteral("4"), NotificationAction::Open);
        const QStringList expected{QStringLiteral("token"), QString()};
        QCOMPARE(m_windowTokens, expected);
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aGroupHasNoActionWithoutAWindowOrWhereTheServerHasNone()
    {
        failMany(4);
        QCOMPARE(m_server->requests.constLast().openLabel, QString());
        Q_EMIT m_server->activated(QStringLiteral("4"), NotificationAction::Open);
        followWindow();
        m_server->able.hasActions = false;
        failMany(1);
        QCOMPARE(m_server->requests.constLast().openLabel, QString());
        QCOMPARE(m_windowTokens, QStringList());
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aGroupSoundsOnlyWhenItAppears()
    {
        m_server->able.playsSounds = true;
        failMany(6);
        QList<bool> played;
        QList<bool> suppressed;
        for (const NotificationRequest &request : std::as_const(m_server->requests)) {
            played.append(request.playsSound);
            suppressed.append(request.suppressesSound);
        }
        QCOMPARE(played, (QList<bool>{true, true, true, true, false, false}));
        QCOMPARE(suppressed, (QList<bool>{false, false, false, false, true, true}));
    }

    void onAServerWithoutSoundsAGroupSuppressesNone()
    {
        failMany(5);
        QVERIFY(!m_server->requests.constLast().playsSound);
        QVERIFY(!m_server->requests.constLast().suppressesSound);
    }

    void aNewServerInTheMiddleOfABurstShowsTheWholeGroup()
    {
        m_server->able.playsSounds = true;
        failMany(5);
        Q_EMIT m_server->serverGone();
        failMany(1);
        const NotificationRequest request = m_server->requests.constLast();
        QCOMPARE(request.summary, QStringLiteral("6 deployments failed"));
        QCOMPARE(request.replacedHandle, QString());
        QVERIFY(!request.playsSound);
        failMany(1);
        QCOMPARE(m_server->requests.constLast().summary, QStringLiteral("7 deployments failed"));
        QCOMPARE(m_server->requests.constLast().replacedHandle, QStringLiteral("5"));
    }

    void aServerThatChangesDuringThePostOfAGroupIsAskedAgain()
    {
        followWindow();
        failMany(4);
        m_server->failures.push_back(std::make_exception_ptr(NotificationError(Kind::ServerChanged)));
        m_server->onFailure = [this] {
            m_server->able = {QStringLiteral("second"), false, false, false};
        };
        failMany(1);
        const NotificationRequest request = m_server->requests.constLast();
        QCOMPARE(request.server, QStringLiteral("second"));
        QCOMPARE(request.summary, QStringLiteral("5 deployments failed"));
        QCOMPARE(request.replacedHandle, QString());
        QCOMPARE(request.openLabel, QString());
    }

    void whatTheServerRefusedCountsInItsGroupAllTheSame()
    {
        failMany(2);
        m_server->failures.push_back(
            std::make_exception_ptr(NotificationError(Kind::Failed, QStringLiteral("com.example.Refused"))));
        QVERIFY(await(m_service->notifyFailure(failed(QStringLiteral("X")))).failedWithType<NotificationError>());
        failMany(1);
        QCOMPARE(m_server->requests.constLast().summary, QStringLiteral("4 deployments failed"));
    }

    void aGroupThatWasDismissedComesBackWithTheNextResult()
    {
        failMany(5);
        Q_EMIT m_server->closed(QStringLiteral("4"), NotificationCloseReason::Dismissed);
        failMany(1);
        QCOMPARE(m_server->requests.constLast().summary, QStringLiteral("6 deployments failed"));
        QCOMPARE(m_server->requests.constLast().replacedHandle, QString());
    }

    void theNamesOfAGroupAreEscapedWhereMarkupIsInterpreted()
    {
        auto hostile = failed(QStringLiteral("X"));
        hostile.repositoryName = QStringLiteral("<b>&\n");
        const DeploymentList deployments{hostile, failed()};
        awaitValue(m_service->notifyGroup(deployments, DeploymentNotificationKind::Failure));
        QCOMPARE(m_server->requests.constLast().body, QStringLiteral("&lt;b&gt;&amp;\n, acme/web"));
    }

    void aGroupIsOneNotificationAndNoPartOfABurst()
    {
        followWindow();
        m_server->able.playsSounds = true;
        const DeploymentList deployments{succeeded(), succeeded(QStringLiteral("D2"))};
        awaitValue(m_service->notifyGroup(deployments, DeploymentNotificationKind::Success));
        QCOMPARE(m_server->requests.size(), 1);
        const NotificationRequest request = m_server->requests.constFirst();
        QCOMPARE(request.summary, QStringLiteral("2 deployments succeeded"));
        QCOMPARE(request.body, QStringLiteral("acme/web and 1 more"));
        QCOMPARE(request.category, QStringLiteral("transfer.complete"));
        QVERIFY(request.playsSound);
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_windowTokens.size(), 1);
        for (int i = 0; i < 3; ++i)
            awaitValue(m_service->notifySuccess(succeeded(QStringLiteral("S%1").arg(i))));
        QCOMPARE(m_server->requests.constLast().summary, QStringLiteral("acme/web deployed"));
    }

    void aGroupOfOneIsItsOwnNotificationAndAGroupOfNoneIsNothing()
    {
        awaitValue(m_service->notifyGroup({}, DeploymentNotificationKind::Failure));
        QCOMPARE(m_server->requests.size(), 0);
        awaitValue(m_service->notifyGroup({SharedDeployment(failed())}, DeploymentNotificationKind::Failure));
        QCOMPARE(m_server->requests.size(), 1);
        QCOMPARE(m_server->requests.constFirst().summary, QStringLiteral("acme/web failed"));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        QCOMPARE(m_opener->opened, QStringList{kDeploymentsPage});
    }

    void aButtonMutesTheRepositoryOnce()
    {
        followMuting();
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.constLast().muteLabel, QStringLiteral("Mute web"));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Mute);
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Mute);
        QCOMPARE(m_muted, QStringList(QStringLiteral("R_web")));
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aRepeatedClickAfterMutingOpensThePageOnce()
    {
        followMuting();
        awaitValue(m_service->notifyFailure(failed()));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Mute);
        for (int i = 0; i < 3; ++i)
            Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Mute);
        QCOMPARE(m_opener->opened, QStringList{kDeploymentsPage});
        QCOMPARE(m_muted.size(), 1);
    }

    void thereIsNoButtonThatMutesWithoutMutingOrOnAServerWithoutActions()
    {
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.constLast().muteLabel, QString());
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Mute);
        followMuting();
        m_server->able.hasActions = false;
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(m_server->requests.constLast().muteLabel, QString());
        QCOMPARE(m_muted, QStringList());
    }

    void aGroupMutesNothing()
    {
        followMuting();
        followWindow();
        failMany(4);
        QCOMPARE(m_server->requests.constLast().muteLabel, QString());
        Q_EMIT m_server->activated(QStringLiteral("4"), NotificationAction::Mute);
        QCOMPARE(m_muted, QStringList());
        Q_EMIT m_server->activated(QStringLiteral("3"), NotificationAction::Mute);
        QCOMPARE(m_muted, QStringList(QStringLiteral("R_web")));
    }

    void whereNoPageCanBeOpenedTheRepositoryCanStillBeMuted()
    {
        followMuting();
        auto deployment = failed();
        deployment.repositoryURL = WebAddress(QStringLiteral("ssh://host/x"));
        awaitValue(m_service->notifyFailure(deployment));
        QCOMPARE(m_server->requests.constLast().openLabel, QString());
        QCOMPARE(m_server->requests.constLast().muteLabel, QStringLiteral("Mute web"));
    }

    void theSwitchOfTheDesktopIsTheAnswer()
    {
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
        m_permission->isOn = false;
        QVERIFY(!awaitValue(m_service->requestAuthorizationIfNeeded()));
        QCOMPARE(m_permission->questions, 2);
        QVERIFY(m_server->requests.isEmpty());
    }

    void withoutAServiceTheAnswerIsAnErrorUntilOneAppears()
    {
        m_server->isThere = false;
        m_permission->isOn = false;
        const auto outcome = await(m_service->requestAuthorizationIfNeeded());
        QVERIFY(outcome.failedWith(NotificationError(Kind::NoServer)));
        QCOMPARE(outcome.description(),
            QStringLiteral("No notification service is running on this desktop, and none can be started."));
        QCOMPARE(m_permission->questions, 0);
        QVERIFY(await(m_service->notifyFailure(failed())).failedWith(NotificationError(Kind::NoServer)));
        m_server->isThere = true;
        m_permission->isOn = true;
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
    }

    void aServerThatAnswersIsReadyAtOnce()
    {
        QVERIFY(start(m_service->untilReady({}))->isDone);
        m_server->isThere = false;
        // Ready at once: the next post reports what is wrong.
        QVERIFY(start(m_service->untilReady({}))->isDone);
    }

    void aServerThatDoesNotAnswerIsAskedAgainUntilItDoes()
    {
        m_service = std::make_unique<UserNotificationService>(
            m_server, m_permission, *m_opener, m_clock, UserNotificationService::kBound, std::chrono::milliseconds(1));
        m_server->isSilent = true;
        const auto ready = start(m_service->untilReady({}));
        QVERIFY(waitUntil([this] { return m_server->deadlines.size() > 3; }));
        QVERIFY(!ready->isDone);
        m_server->isSilent = false;
        QVERIFY(waitUntil([&] { return ready->isDone; }));
        QVERIFY(!ready->failure);
    }

    void theSuccessorOfASilentServerIsAskedAtOnce()
    {
        m_server->isSilent = true;
        const auto ready = start(m_service->untilReady({}));
        m_server->isSilent = false;
        drainEvents();
        QVERIFY(!ready->isDone);
        Q_EMIT m_server->serverGone();
        QVERIFY(waitUntil([&] { return ready->isDone; }));
    }

    void aStopEndsTheWaitForASilentServer()
    {
        m_server->isSilent = true;
        std::stop_source stop;
        const auto ready = start(m_service->untilReady(stop.get_token()));
        stop.request_stop();
        QVERIFY(waitUntil([&] { return ready->isDone; }));
        QVERIFY(ready->failedWithType<CancellationError>());
    }

    void everyCallOfOneOperationSharesItsDeadline()
    {
        awaitValue(m_service->notifyFailure(failed()));
        awaitValue(m_service->requestAuthorizationIfNeeded());
        QCOMPARE(m_server->deadlines.size(), 3);
        QCOMPARE(m_server->deadlines.at(0), m_server->deadlines.at(1));
        for (const QDeadlineTimer &deadline : std::as_const(m_server->deadlines))
            QVERIFY(!deadline.isForever() && deadline.remainingTime() <= 10'000);
    }

    void aPostOutlivesTheService()
    {
        m_server->gate = OneShot<>();
        const auto post = start(m_service->notifyFailure(failed()));
        const std::weak_ptr<FakeNotificationServer> server = m_server;
        const OneShot<> gate = *m_server->gate;
        m_service.reset();
        m_opener.reset();
        m_server.reset();
        QVERIFY(!server.expired());
        gate.resolve();
        QVERIFY(post->isDone);
        QVERIFY(!post->failure);
        QVERIFY(server.expired());
    }

    void afterTheServiceAClickLeadsNowhere()
    {
        awaitValue(m_service->notifyFailure(failed()));
        m_service.reset();
        Q_EMIT m_server->activationTokenReceived(QStringLiteral("1"), QStringLiteral("token"));
        Q_EMIT m_server->activated(QStringLiteral("1"), NotificationAction::Open);
        Q_EMIT m_server->closed(QStringLiteral("1"), NotificationCloseReason::Dismissed);
        Q_EMIT m_server->serverGone();
        QCOMPARE(m_opener->opened, QStringList());
    }

    void everyErrorHasItsWords()
    {
        QCOMPARE(NotificationError(Kind::TimedOut).description(),
            QStringLiteral("The notification service did not answer in time."));
        QCOMPARE(NotificationError(Kind::ServerChanged).description(),
            QStringLiteral("The notification service was restarted."));
    }

private:
    /// Announces the failures of this many more deployments, each of a repository of its own.
    void failMany(int count)
    {
        for (int i = 0; i < count; ++i) {
            ++m_failures;
            auto deployment = failed(QStringLiteral("D%1").arg(m_failures));
            deployment.repositoryName = QStringLiteral("acme/web%1").arg(m_failures);
            awaitValue(m_service->notifyFailure(deployment));
        }
    }

    void followMuting()
    {
        m_service->setMuting([this](const QString &repositoryNodeID) { m_muted.append(repositoryNodeID); });
    }

    void followWindow()
    {
        m_service->setWindowOpener([this](const QString &activationToken) { m_windowTokens.append(activationToken); });
    }

    std::shared_ptr<FakeNotificationServer> m_server;
    std::shared_ptr<FakeNotificationPermission> m_permission;
    std::unique_ptr<FakeURLOpener> m_opener;
    FakeClock m_clock;
    int m_failures = 0;
    QStringList m_muted; ///< the repositories, each time
    QStringList m_windowTokens; ///< of each time that the window was opened
    std::unique_ptr<UserNotificationService> m_service;
};

VELMORA_TEST(UserNotificationServiceTest)
#include "user_notification_service_test.moc"
