// SPDX-License-Identifier: MIT
#include "presentation/deployment_search.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

#include <algorithm>

using namespace velmora;
using namespace velmora::testing;

namespace
{

DeploymentSnapshot deployment(const QString &id = QStringLiteral("D1"))
{
    auto made = makeSnapshot(id, DeploymentState::Failure, noon());
    made.repositoryName = QStringLiteral("Acme/web");
    made.environment = QStringLiteral("staging eu");
    made.refName = QStringLiteral("main");
    made.commitOID = QStringLiteral("c0ffee6789abcdef0123456789abcdef01234567");
    made.creatorLogin = QStringLiteral("Octocat");
    return made;
}

bool finds(const QString &search, const DeploymentSnapshot &deployment)
{
    const DeploymentList all{deployment};
    return DeploymentSearch(search).found(all) == all;
}

} // namespace

class DeploymentSearchTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyWordIsFoundSomewhere_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<bool>("isFound");
        QTest::newRow("nothing") << QString() << true;
        QTest::newRow("blanks") << QStringLiteral("  ") << true;
        QTest::newRow("the repository, in another case") << QStringLiteral("acME/W") << true;
        QTest::newRow("the environment") << QStringLiteral("STAG") << true;
        QTest::newRow("the beginning of the commit") << QStringLiteral("C0FFEE") << true;
        QTest::newRow("all of the commit") << deployment().commitOID << true;
        QTest::newRow("the middle of the commit") << QStringLiteral("6789abc") << false;
        QTest::newRow("the creator") << QStringLiteral("octocat") << true;
        QTest::newRow("two words, in any order") << QStringLiteral("eu web") << true;
        QTest::newRow("words of four fields") << QStringLiteral(" c0f  acme octo\tstaging ") << true;
        QTest::newRow("one word that is nowhere") << QStringLiteral("web production") << false;
        QTest::newRow("across two fields") << QStringLiteral("webstaging") << false;
        QTest::newRow("the branch") << QStringLiteral("main") << false;
        QTest::newRow("no pattern") << QStringLiteral("w.b") << false;
    }
    void everyWordIsFoundSomewhere()
    {
        QFETCH(QString, search);
        QFETCH(bool, isFound);
        QCOMPARE(finds(search, deployment()), isFound);
        QCOMPARE(DeploymentSearch(search).text(), search);
    }

    void aDeploymentWithoutCreatorIsFoundByTheRest()
    {
        auto without = deployment();
        without.creatorLogin.reset();
        QVERIFY(!finds(QStringLiteral("octocat"), without));
        QVERIFY(finds(QStringLiteral("acme"), without));
    }

    void lettersBeyondASCIIAreFoundInAnyCase()
    {
        auto other = deployment();
        other.environment = QStringLiteral("größe");
        QVERIFY(finds(QStringLiteral("GRÖ"), other));
    }

    void whatIsFoundKeepsItsOrderAndAnEmptySearchTheList()
    {
        auto other = deployment(QStringLiteral("D2"));
        other.repositoryName = QStringLiteral("zoo/app");
        const DeploymentList all{deployment(), other, deployment(QStringLiteral("D3"))};
        QVERIFY(DeploymentSearch().found(all).isSharedWith(all));
        const DeploymentList expected{all.at(0), all.at(2)};
        QCOMPARE(DeploymentSearch(QStringLiteral("web")).found(all), expected);
        QCOMPARE(DeploymentSearch(QStringLiteral("none")).found(all), DeploymentList());
        // All of them are found.
        QVERIFY(DeploymentSearch(QStringLiteral("production staging")).found({}).isEmpty());
        QVERIFY(DeploymentSearch(QStringLiteral("c0f")).found(all).isSharedWith(all));
    }

    void deploymentsThatShareTheirTextsAreJudgedByAllOfTheirs()
    {
        DeploymentList all;
        for (int i = 0; i < 10'000; ++i) {
            auto made = deployment(QString::number(i));
            if (i % 3 == 0)
                made.environment = QStringLiteral("production-%1").arg(i);
            all.append(made);
        }
        const DeploymentList found = DeploymentSearch(QStringLiteral("acme production")).found(all);
        QCOMPARE(found.size(), 3334);
        QVERIFY(std::ranges::all_of(
            found, [](const DeploymentSnapshot &each) { return each.environment.startsWith(QStringLiteral("prod")); }));
    }

    void onlyATextThatGoesOnNarrows()
    {
        const auto narrows = [](const char *next, const char *previous) {
            return DeploymentSearch(QString::fromLatin1(next)).narrows(DeploymentSearch(QString::fromLatin1(previous)));
        };
        QVERIFY(narrows("w", ""));
        QVERIFY(narrows("web", "we"));
        QVERIFY(narrows("web x", "web"));
        QVERIFY(!narrows("we", "web"));
        QVERIFY(!narrows("x web", "web"));
    }

    void onlyTheMarksOfListedFailuresAreLeft()
    {
        const DeploymentList listed{
            deployment(), SharedDeployment(makeSnapshot(QStringLiteral("S"), DeploymentState::Success, noon()))};
        FailureMark dismissed;
        dismissed.isDismissed = true;
        const FailureMarks marks{{QStringLiteral("D1"), dismissed}, {QStringLiteral("D9"), dismissed}};
        QCOMPARE(marksOf(listed, marks), (FailureMarks{{QStringLiteral("D1"), dismissed}}));
        QCOMPARE(marksOf({}, marks), FailureMarks());
        QCOMPARE(marksOf(listed, {}), FailureMarks());
    }

    void theNumberIsSaidInTwoLengths()
    {
        QCOMPARE(foundText(3, 20), QStringLiteral("3 of 20"));
        QCOMPARE(foundSentence(0, 20), QStringLiteral("0 of 20 deployments found"));
        QCOMPARE(findDeploymentsText(), QStringLiteral("Find deployments"));
        QCOMPARE(showAllDeploymentsText(), QStringLiteral("Show all"));
    }
};

VELMORA_TEST(DeploymentSearchTest)
#include "deployment_search_test.moc"
