// SPDX-License-Identifier: MIT
#include "model/deployment_snapshot.h"
#include "model/deployment_state.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;

class DeploymentStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsWord()
    {
        const QStringList expected{QStringLiteral("queued"), QStringLiteral("pending"), QStringLiteral("waiting"),
            QStringLiteral("inProgress"), QStringLiteral("success"), QStringLiteral("failure"), QStringLiteral("error"),
            QStringLiteral("inactive"), QStringLiteral("unknown")};
        QStringList words;
        for (const auto state : kAllDeploymentStates) {
            words.append(rawValue(state));
            QVERIFY(deploymentStateFromRawValue(rawValue(state)) == state);
        }
        QCOMPARE(words, expected);
        QVERIFY(!deploymentStateFromRawValue(u"QUEUED").has_value());
        QVERIFY(!deploymentStateFromRawValue(u"").has_value());
    }

    void gitHubsWordsFoldIntoOutcomes_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("expected");
        QTest::newRow("queued") << "QUEUED"
                                << "queued";
        QTest::newRow("pending") << "PENDING"
                                 << "pending";
        QTest::newRow("waiting") << "WAITING"
                                 << "waiting";
        QTest::newRow("in progress") << "IN_PROGRESS"
                                     << "inProgress";
        QTest::newRow("success") << "SUCCESS"
                                 << "success";
        QTest::newRow("active") << "ACTIVE"
                                << "success";
        QTest::newRow("failure") << "FAILURE"
                                 << "failure";
        QTest::newRow("abandoned") << "ABANDONED"
                                   << "failure";
        QTest::newRow("error") << "ERROR"
                               << "error";
        QTest::newRow("inactive") << "INACTIVE"
                                  << "inactive";
        QTest::newRow("destroyed") << "DESTROYED"
                                   << "inactive";
        QTest::newRow("lower case") << "in_progress"
                                    << "inProgress";
        QTest::newRow("mixed case") << "Active"
                                    << "success";
        QTest::newRow("a letter whose capital is S") << QStringLiteral("\u017fuccess") << QStringLiteral("success");
        QTest::newRow("another letter") << QStringLiteral("\u00e9rror") << QStringLiteral("unknown");
        QTest::newRow("unknown word") << "LOCKED"
                                      << "unknown";
        QTest::newRow("blank around") << " SUCCESS"
                                      << "unknown";
        QTest::newRow("empty") << ""
                               << "unknown";
    }

    void gitHubsWordsFoldIntoOutcomes()
    {
        QFETCH(QString, word);
        QFETCH(QString, expected);
        QCOMPARE(rawValue(deploymentStateFromGitHub(QUtf8StringView(word.toUtf8()))), expected);
    }

    void anAbsentWordIsUnknown() { QVERIFY(deploymentStateFromGitHub(std::nullopt) == DeploymentState::Unknown); }

    void theFirstFourStatesAreActiveAndTwoAreFailures()
    {
        QStringList active;
        QStringList failures;
        for (const auto state : kAllDeploymentStates) {
            if (isActive(state))
                active.append(rawValue(state));
            if (isFailure(state))
                failures.append(rawValue(state));
        }
        QCOMPARE(active.join(u','), QStringLiteral("queued,pending,waiting,inProgress"));
        QCOMPARE(failures.join(u','), QStringLiteral("failure,error"));
    }

    void snapshotsAreEqualOnlyWhenEveryFieldIs()
    {
        const DeploymentSnapshot original;
        QVERIFY(original == DeploymentSnapshot());
        const auto differs = [&original](auto change) {
            DeploymentSnapshot changed = original;
            change(changed);
            return changed != original;
        };
        const QString text = QStringLiteral("x");
        QVERIFY(differs([&](auto &it) { it.id = text; }));
        QVERIFY(differs([&](auto &it) { it.repositoryNodeID = text; }));
        QVERIFY(differs([&](auto &it) { it.repositoryName = text; }));
        QVERIFY(differs([&](auto &it) { it.repositoryURL = WebAddress(text); }));
        QVERIFY(differs([&](auto &it) { it.environment = text; }));
        QVERIFY(differs([&](auto &it) { it.refName = text; }));
        QVERIFY(differs([&](auto &it) { it.commitOID = text; }));
        QVERIFY(differs([&](auto &it) { it.creatorLogin = text; }));
        QVERIFY(differs([&](auto &it) { it.state = DeploymentState::Success; }));
        QVERIFY(differs([&](auto &it) { it.createdAt += std::chrono::microseconds(1); }));
        QVERIFY(differs([&](auto &it) { it.updatedAt += std::chrono::microseconds(1); }));
        QVERIFY(differs([&](auto &it) { it.statusDescription = QString(); }));
        QVERIFY(differs([&](auto &it) { it.logURL = WebAddress(text); }));
        QVERIFY(differs([&](auto &it) { it.environmentURL = WebAddress(text); }));
    }

    void theDetailsAreTheLogElseTheDeploymentsOfTheRepository()
    {
        DeploymentSnapshot deployment;
        deployment.repositoryURL = WebAddress(QStringLiteral("https://github.com/acme/site"));
        QCOMPARE(detailsURL(deployment).text(), QStringLiteral("https://github.com/acme/site/deployments"));
        deployment.logURL = WebAddress(QStringLiteral("https://ci.test/1"));
        QCOMPARE(detailsURL(deployment).text(), QStringLiteral("https://ci.test/1"));
        QVERIFY(hasLogPage(deployment));
    }

    void aLogThatNoBrowserCanOpenIsNone()
    {
        DeploymentSnapshot deployment;
        deployment.repositoryURL = WebAddress(QStringLiteral("https://github.com/acme/site"));
        for (const char *log : {"", "file:///etc/passwd", "javascript:alert(1)", "ci.test/1"}) {
            deployment.logURL = WebAddress(QString::fromLatin1(log));
            QVERIFY2(!hasLogPage(deployment), log);
            QCOMPARE(detailsURL(deployment).text(), QStringLiteral("https://github.com/acme/site/deployments"));
        }
    }

    void aResultIsRememberedByIdAndState()
    {
        DeploymentSnapshot deployment;
        deployment.id = QStringLiteral("DE_1");
        deployment.state = DeploymentState::InProgress;
        QCOMPARE(resultKey(deployment), QStringLiteral("DE_1:inProgress"));
    }
};

VELMORA_TEST(DeploymentStateTest)
#include "deployment_state_test.moc"
