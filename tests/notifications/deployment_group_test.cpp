// SPDX-License-Identifier: MIT
#include "notifications/deployment_group.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using Kind = DeploymentNotificationKind;

namespace
{

/// The result of a deployment in each of the repositories.
DeploymentList results(const QStringList &repositories, DeploymentState state = DeploymentState::Failure)
{
    DeploymentList list;
    for (const QString &repository : repositories) {
        auto deployment = makeSnapshot(QStringLiteral("D%1").arg(list.size()), state, noon());
        deployment.repositoryName = repository;
        list.append(SharedDeployment(deployment));
    }
    return list;
}

const QString kWeb = QStringLiteral("acme/web");
const QString kApi = QStringLiteral("acme/api");

} // namespace

class DeploymentGroupTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindHasItsWords_data()
    {
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<DeploymentState>("state");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("identifier");
        QTest::newRow("failure") << Kind::Failure << DeploymentState::Error << QStringLiteral("2 deployments failed")
                                 << QStringLiteral("group:D0:error");
        QTest::newRow("success") << Kind::Success << DeploymentState::Success
                                 << QStringLiteral("2 deployments succeeded") << QStringLiteral("group:D0:success");
        QTest::newRow("waiting") << Kind::Waiting << DeploymentState::Waiting
                                 << QStringLiteral("2 deployments wait for approval")
                                 << QStringLiteral("group:D0:waiting");
    }
    void everyKindHasItsWords()
    {
        QFETCH(Kind, kind);
        QFETCH(DeploymentState, state);
        QFETCH(QString, title);
        QFETCH(QString, identifier);
        const auto notification = deploymentNotification(results({kWeb, kApi}, state), kind);
        QCOMPARE(notification.title, title);
        QCOMPARE(notification.subtitle, QString());
        QCOMPARE(notification.body, QStringLiteral("acme/web, acme/api"));
        QCOMPARE(notification.url, WebAddress());
        QCOMPARE(notification.identifier, identifier);
    }

    void theFirstThreeRepositoriesAreNamedAndTheOthersCounted_data()
    {
        QTest::addColumn<QStringList>("repositories");
        QTest::addColumn<QString>("body");
        const QString docs = QStringLiteral("acme/docs");
        QTest::newRow("three") << QStringList{kWeb, kApi, docs} << QStringLiteral("acme/web, acme/api, acme/docs");
        QTest::newRow("nine") << QStringList{kWeb, kApi, docs, QStringLiteral("d"), QStringLiteral("e"),
            QStringLiteral("f"), QStringLiteral("g"), QStringLiteral("h"), QStringLiteral("i")}
                              << QStringLiteral("acme/web, acme/api, acme/docs and 6 more");
        QTest::newRow("the same again") << QStringList{kWeb, kApi, kWeb, docs, kWeb}
                                        << QStringLiteral("acme/web, acme/api, acme/docs and 2 more");
        QTest::newRow("only one repository")
            << QStringList{kWeb, kWeb, kWeb, kWeb} << QStringLiteral("acme/web and 3 more");
    }
    void theFirstThreeRepositoriesAreNamedAndTheOthersCounted()
    {
        QFETCH(QStringList, repositories);
        QFETCH(QString, body);
        const auto notification = deploymentNotification(results(repositories), Kind::Failure);
        QCOMPARE(notification.title, QStringLiteral("%1 deployments failed").arg(repositories.size()));
        QCOMPARE(notification.body, body);
    }

    void aSingleDeploymentKeepsItsOwnNotification()
    {
        const DeploymentList single = results({kWeb});
        QCOMPARE(
            deploymentNotification(single, Kind::Failure), deploymentNotification(single.constFirst(), Kind::Failure));
    }

    void aGroupThatGrowsKeepsItsIdentifier()
    {
        const DeploymentList list = results({kWeb, kApi, kWeb});
        DeploymentGroup group(Kind::Failure);
        group.add(list.at(0));
        const QString identifier = group.notification().identifier;
        group.add(list.at(1));
        group.add(list.at(2));
        QCOMPARE(group.count(), 3);
        QCOMPARE(group.notification().identifier, identifier);
    }
};

VELMORA_TEST(DeploymentGroupTest)
#include "deployment_group_test.moc"
