// SPDX-License-Identifier: MIT
#include "notifications/deployment_notification.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class DeploymentNotificationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFailureWithoutDescriptionSaysSoInItsOwnWords()
    {
        const auto notification = deploymentNotification(
            makeSnapshot(QStringLiteral("D1"), DeploymentState::Failure, noon()), DeploymentNotificationKind::Failure);
        QCOMPARE(notification.title, QStringLiteral("acme/web failed"));
        QCOMPARE(notification.subtitle, QStringLiteral("production"));
        QCOMPARE(notification.body, QStringLiteral("The deployment did not complete successfully."));
        QCOMPARE(notification.url.text(), QStringLiteral("https://github.com/acme/web/deployments"));
        QCOMPARE(notification.identifier, QStringLiteral("D1:failure"));
    }

    void aSuccessWithoutDescriptionSaysSoInItsOwnWords()
    {
        const auto notification = deploymentNotification(
            makeSnapshot(QStringLiteral("D1"), DeploymentState::Success, noon()), DeploymentNotificationKind::Success);
        QCOMPARE(notification.title, QStringLiteral("acme/web deployed"));
        QCOMPARE(notification.body, QStringLiteral("The deployment completed successfully."));
        QCOMPARE(notification.identifier, QStringLiteral("D1:success"));
    }

    void whatWaitsForApprovalSaysSoInItsOwnWords()
    {
        const auto notification = deploymentNotification(
            makeSnapshot(QStringLiteral("D1"), DeploymentState::Waiting, noon()), DeploymentNotificationKind::Waiting);
        QCOMPARE(notification.title, QStringLiteral("acme/web waits for approval"));
        QCOMPARE(notification.subtitle, QStringLiteral("production"));
        QCOMPARE(notification.body, QStringLiteral("The deployment goes on once it is approved."));
        QCOMPARE(notification.url.text(), QStringLiteral("https://github.com/acme/web/deployments"));
        QCOMPARE(notification.identifier, QStringLiteral("D1:waiting"));
    }

    void everyStateIsAnnouncedAsItsKindOrNotAtAll()
    {
        using enum DeploymentState;
        for (const auto state : kAllDeploymentStates) {
            std::optional<DeploymentNotificationKind> expected;
            if (state == Failure || state == Error)
                expected = DeploymentNotificationKind::Failure;
            if (state == Success)
                expected = DeploymentNotificationKind::Success;
            if (state == Waiting)
                expected = DeploymentNotificationKind::Waiting;
            QCOMPARE(announcedKind(state), expected);
        }
    }

    void theDescriptionOfTheStatusIsTheBodyEvenWhenItIsEmpty()
    {
        auto deployment = makeSnapshot(QStringLiteral("D1"), DeploymentState::Success, noon());
        deployment.statusDescription = QStringLiteral("All good");
        QCOMPARE(
            deploymentNotification(deployment, DeploymentNotificationKind::Success).body, QStringLiteral("All good"));
        deployment.statusDescription = QString();
        QCOMPARE(deploymentNotification(deployment, DeploymentNotificationKind::Success).body, QString());
    }

    void theLogIsOpenedWhereThereIsOne()
    {
        auto deployment = makeSnapshot(QStringLiteral("D1"), DeploymentState::Error, noon());
        deployment.logURL = WebAddress(QStringLiteral("https://ci.example/log/7"));
        const auto notification = deploymentNotification(deployment, DeploymentNotificationKind::Failure);
        QCOMPARE(notification.url.text(), QStringLiteral("https://ci.example/log/7"));
        QCOMPARE(notification.identifier, QStringLiteral("D1:error"));
    }
};

VELMORA_TEST(DeploymentNotificationTest)
#include "deployment_notification_test.moc"
