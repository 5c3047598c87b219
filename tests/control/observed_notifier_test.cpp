// SPDX-License-Identifier: MIT
#include "control/observed_notifier.h"

#include "notifications/background_notifier.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_notifier.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

/// A notifier that is observed and delivers in the background, as a watching terminal uses it.
class ObservedNotifierTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutADesktopTheObserverIsTold()
    {
        BackgroundNotifier background(nullptr);
        ObservedNotifier notifier(&background);
        const QSignalSpy posted(&notifier, &ObservedNotifier::posted);
        QVERIFY(awaitValue(notifier.requestAuthorizationIfNeeded()));
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted.at(0).at(0).value<DeploymentNotification>(),
            deploymentNotification(failed(QStringLiteral("D1")), DeploymentNotificationKind::Failure));
    }

    void theDesktopAnnouncesTheSameResults()
    {
        FakeNotifier desktop;
        BackgroundNotifier background(&desktop);
        ObservedNotifier notifier(&background);
        const QSignalSpy posted(&notifier, &ObservedNotifier::posted);
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        awaitValue(notifier.notifySuccess(makeSnapshot(QStringLiteral("D2"), DeploymentState::Success, noon())));
        QCOMPARE(posted.size(), 2);
        const QStringList expected{QStringLiteral("failure D1"), QStringLiteral("success D2")};
        QCOMPARE(desktop.announced, expected);
    }

    void aDesktopThatFailsIsReportedOnceUntilItWorksAgain()
    {
        FakeNotifier desktop;
        desktop.fails = true;
        BackgroundNotifier background(&desktop);
        ObservedNotifier notifier(&background);
        const QSignalSpy posted(&notifier, &ObservedNotifier::posted);
        const QSignalSpy failures(&background, &BackgroundNotifier::failed);
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D2"))));
        QCOMPARE(posted.size(), 2);
        QCOMPARE(failures.size(), 1);
        QCOMPARE(failures.at(0).at(0).toString(), QStringLiteral("the notifier fails"));
        desktop.fails = false;
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D3"))));
        desktop.fails = true;
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D4"))));
        QCOMPARE(failures.size(), 2);
    }

    void theObserverIsToldBeforeTheDesktopHasAnswered()
    {
        FakeNotifier desktop;
        desktop.gate.emplace();
        BackgroundNotifier background(&desktop);
        ObservedNotifier notifier(&background);
        const QSignalSpy posted(&notifier, &ObservedNotifier::posted);
        auto task = notifier.notifyFailure(failed(QStringLiteral("D1")));
        QCOMPARE(posted.size(), 1);
        desktop.gate->resolve();
        awaitValue(std::move(task));
    }

    void aDesktopThatIsBusyHoldsUpNoLineAndGetsEveryResultInTheirOrder()
    {
        FakeNotifier desktop;
        desktop.busy.emplace();
        BackgroundNotifier background(&desktop);
        ObservedNotifier notifier(&background);
        const QSignalSpy posted(&notifier, &ObservedNotifier::posted);
        awaitValue(notifier.untilReady({}));
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D2"))));
        QCOMPARE(posted.size(), 2);
        QCOMPARE(desktop.announced, QStringList());
        const OneShot<> busy = *std::exchange(desktop.busy, std::nullopt);
        busy.resolve();
        const QStringList expected{QStringLiteral("failure D1"), QStringLiteral("failure D2")};
        QCOMPARE(desktop.announced, expected);
    }

    void aGroupIsOneNotificationForTheObserverAndTheDesktop()
    {
        FakeNotifier desktop;
        BackgroundNotifier background(&desktop);
        ObservedNotifier notifier(&background);
        const QSignalSpy posted(&notifier, &ObservedNotifier::posted);
        const DeploymentList deployments{failed(QStringLiteral("D1")), failed(QStringLiteral("D2"))};
        awaitValue(notifier.notifyGroup(deployments, DeploymentNotificationKind::Failure));
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted.at(0).at(0).value<DeploymentNotification>(),
            deploymentNotification(deployments, DeploymentNotificationKind::Failure));
        QCOMPARE(desktop.announced, QStringList(QStringLiteral("failure D1 D2")));
        awaitValue(notifier.notifyGroup({}, DeploymentNotificationKind::Failure));
        QCOMPARE(posted.size(), 1);
        QCOMPARE(desktop.announced.size(), 1);
    }

    void whatADesktopHasNotGotIsDroppedWithTheNotifier()
    {
        FakeNotifier first;
        first.busy.emplace();
        {
            BackgroundNotifier notifier(&first);
            awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        }
        FakeNotifier second;
        BackgroundNotifier notifier(&second);
        drainEvents();
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D2"))));
        QCOMPARE(first.announced, QStringList());
        QCOMPARE(second.announced, QStringList(QStringLiteral("failure D2")));
    }

private:
    static DeploymentSnapshot failed(const QString &id) { return makeSnapshot(id, DeploymentState::Failure, noon()); }
};

VELMORA_TEST(ObservedNotifierTest)
#include "observed_notifier_test.moc"
