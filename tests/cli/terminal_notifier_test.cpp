// SPDX-License-Identifier: MIT
#include "cli/terminal_notifier.h"

#include "support/await.h"
#include "support/builders.h"
#include "support/fake_notifier.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class TerminalNotifierTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutADesktopTheTerminalIsTold()
    {
        TerminalNotifier notifier;
        const QSignalSpy posted(&notifier, &TerminalNotifier::posted);
        QVERIFY(awaitValue(notifier.requestAuthorizationIfNeeded()));
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted.at(0).at(0).value<DeploymentNotification>(),
            deploymentNotification(failed(QStringLiteral("D1")), DeploymentNotificationKind::Failure));
    }

    void theDesktopAnnouncesTheSameResults()
    {
        TerminalNotifier notifier;
        FakeNotifier desktop;
        notifier.setDesktop(&desktop);
        const QSignalSpy posted(&notifier, &TerminalNotifier::posted);
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        awaitValue(notifier.notifySuccess(makeSnapshot(QStringLiteral("D2"), DeploymentState::Success, noon())));
        QCOMPARE(posted.size(), 2);
        const QStringList expected{QStringLiteral("failure D1"), QStringLiteral("success D2")};
        QCOMPARE(desktop.announced, expected);
    }

    void aDesktopThatFailsIsReportedOnceUntilItWorksAgain()
    {
        TerminalNotifier notifier;
        FakeNotifier desktop;
        desktop.fails = true;
        notifier.setDesktop(&desktop);
        const QSignalSpy posted(&notifier, &TerminalNotifier::posted);
        const QSignalSpy failures(&notifier, &TerminalNotifier::desktopFailed);
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

    void theTerminalIsToldBeforeTheDesktopHasAnswered()
    {
        TerminalNotifier notifier;
        FakeNotifier desktop;
        desktop.gate.emplace();
        notifier.setDesktop(&desktop);
        const QSignalSpy posted(&notifier, &TerminalNotifier::posted);
        auto task = notifier.notifyFailure(failed(QStringLiteral("D1")));
        QCOMPARE(posted.size(), 1);
        desktop.gate->resolve();
        awaitValue(std::move(task));
    }

    void aDesktopThatIsBusyHoldsUpNoLineAndGetsEveryResultInTheirOrder()
    {
        TerminalNotifier notifier;
        FakeNotifier desktop;
        desktop.busy.emplace();
        notifier.setDesktop(&desktop);
        const QSignalSpy posted(&notifier, &TerminalNotifier::posted);
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

    void whatADesktopHasNotGotIsNotForTheNext()
    {
        TerminalNotifier notifier;
        FakeNotifier first;
        first.busy.emplace();
        notifier.setDesktop(&first);
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D1"))));
        FakeNotifier second;
        notifier.setDesktop(&second);
        drainEvents();
        awaitValue(notifier.notifyFailure(failed(QStringLiteral("D2"))));
        QCOMPARE(first.announced, QStringList());
        QCOMPARE(second.announced, QStringList(QStringLiteral("failure D2")));
    }

private:
    static DeploymentSnapshot failed(const QString &id) { return makeSnapshot(id, DeploymentState::Failure, noon()); }
};

VELMORA_TEST(TerminalNotifierTest)
#include "terminal_notifier_test.moc"
