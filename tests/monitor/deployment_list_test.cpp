// SPDX-License-Identifier: MIT
#include "monitor/deployment_list.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QMap>
#include <QTest>

#include <algorithm>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QStringList ids(const DeploymentList &deployments)
{
    QStringList result;
    for (const DeploymentSnapshot &deployment : deployments)
        result.append(deployment.id);
    return result;
}

DeploymentSnapshot make(const char *id, DeploymentState state, std::chrono::microseconds age)
{
    return makeSnapshot(QString::fromLatin1(id), state, noon() - age);
}

DeploymentList sortedByID(DeploymentList deployments)
{
    std::ranges::sort(deployments, {}, [](const DeploymentSnapshot &deployment) { return deployment.id; });
    return deployments;
}

RepositoryRecord makeRepository(const char *nodeID, const char *name)
{
    RepositoryRecord record;
    record.repository.nodeID = QString::fromLatin1(nodeID);
    record.repository.nameWithOwner = QString::fromLatin1(name);
    return record;
}

constexpr auto kReplaceAll = [](const DeploymentSnapshot &) {
    return true;
};
constexpr auto kKeepAll = [](const DeploymentSnapshot &) {
    return false;
};

} // namespace

class DeploymentListTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsKeptDependsOnStateAndAge_data()
    {
        QTest::addColumn<DeploymentState>("state");
        QTest::addColumn<qint64>("ageInMicroseconds");
        QTest::addColumn<bool>("isKept");
        const auto us = [](std::chrono::microseconds age) {
            return static_cast<qint64>(age.count());
        };
        QTest::newRow("inactive, now") << DeploymentState::Inactive << us(0us) << false;
        for (const auto state :
            {DeploymentState::Success, DeploymentState::Failure, DeploymentState::Error, DeploymentState::Unknown}) {
            const auto name = rawValue(state);
            QTest::addRow("%s, exactly a day", qPrintable(name)) << state << us(24h) << true;
            QTest::addRow("%s, a moment over a day", qPrintable(name)) << state << us(24h + 1us) << false;
        }
        for (const auto state : {DeploymentState::Queued, DeploymentState::Pending, DeploymentState::Waiting,
                 DeploymentState::InProgress}) {
            const auto name = rawValue(state);
            QTest::addRow("%s, three days", qPrintable(name)) << state << us(72h) << true;
            QTest::addRow("%s, exactly a week", qPrintable(name)) << state << us(168h) << true;
            QTest::addRow("%s, a moment over a week", qPrintable(name)) << state << us(168h + 1us) << false;
        }
        QTest::newRow("from the future") << DeploymentState::Success << us(-1h) << true;
    }

    void whatIsKeptDependsOnStateAndAge()
    {
        QFETCH(DeploymentState, state);
        QFETCH(qint64, ageInMicroseconds);
        QFETCH(bool, isKept);
        const auto list = filteredAndSorted(
            {makeSnapshot(QStringLiteral("D"), state, noon() - std::chrono::microseconds(ageInMicroseconds))}, noon());
        QCOMPARE(!list.isEmpty(), isKept);
    }

    void activeDeploymentsComeFirstEvenWhenAResultIsNewer()
    {
        const auto list = filteredAndSorted(
            {make("new result", DeploymentState::Failure, 1min), make("old active", DeploymentState::Waiting, 70h),
                make("older result", DeploymentState::Success, 2h),
                make("new active", DeploymentState::InProgress, 2min)},
            noon());
        QCOMPARE(ids(list),
            QStringList({QStringLiteral("new active"), QStringLiteral("old active"), QStringLiteral("new result"),
                QStringLiteral("older result")}));
    }

    void equalTimesKeepTheirOrder()
    {
        const auto list
            = filteredAndSorted({make("a", DeploymentState::Success, 1h), make("b", DeploymentState::Failure, 1h),
                                    make("c", DeploymentState::Unknown, 1h)},
                noon());
        QCOMPARE(ids(list), QStringList({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
    }

    void ofTwoWithOneIdTheLaterUpdateCounts()
    {
        const auto early = make("a", DeploymentState::InProgress, 2h);
        const auto late = make("a", DeploymentState::Success, 1h);
        QCOMPARE(filteredAndSorted({early, late}, noon()), DeploymentList{late});
        QCOMPARE(filteredAndSorted({late, early}, noon()), DeploymentList{late});
    }

    void fetchedDeploymentsReplaceTheKnownOnesOfTheirRepositories()
    {
        const auto known
            = DeploymentList{make("gone", DeploymentState::Success, 1h), make("a", DeploymentState::InProgress, 1h)};
        const auto fresh = make("a", DeploymentState::Success, 1min);
        QCOMPARE(shownAfterFetch(known, {fresh}, kReplaceAll, noon()), DeploymentList{fresh});
    }

    void knownDeploymentsOfOtherRepositoriesStay()
    {
        const auto other = make("other", DeploymentState::Success, 1h);
        const auto fresh = make("a", DeploymentState::Success, 1h);
        QCOMPARE(shownAfterFetch({other}, {fresh}, kKeepAll, noon()), DeploymentList({other, fresh}));
    }

    void aKnownDeploymentThatIsNotReplacedWinsOverAnEarlierUpdate()
    {
        const auto late = make("a", DeploymentState::Success, 1min);
        const auto early = make("a", DeploymentState::InProgress, 1h);
        QCOMPARE(shownAfterFetch({late}, {early}, kKeepAll, noon()), DeploymentList{late});
        QCOMPARE(shownAfterFetch({early}, {late}, kKeepAll, noon()), DeploymentList{late});
        QCOMPARE(shownAfterFetch({late}, {early}, kReplaceAll, noon()), DeploymentList{early});
    }

    void ofEqualUpdatesTheFetchedOneCounts()
    {
        const auto known = make("a", DeploymentState::Success, 1h);
        auto fresh = known;
        fresh.environment = QStringLiteral("staging");
        QCOMPARE(shownAfterFetch({known}, {fresh}, kKeepAll, noon()), DeploymentList{fresh});
    }

    void aDeploymentFetchedTwiceIsThereOnceWithItsLaterUpdate()
    {
        const auto early = make("a", DeploymentState::InProgress, 1h);
        const auto late = make("a", DeploymentState::Success, 1min);
        QCOMPARE(shownAfterFetch({}, {late, early}, kReplaceAll, noon()), DeploymentList{late});
        QCOMPARE(shownAfterFetch({}, {early, late}, kReplaceAll, noon()), DeploymentList{late});
    }

    void aRefreshedDeploymentKeepsItsPlaceAmongEquals()
    {
        const auto known
            = DeploymentList{make("a", DeploymentState::Success, 1h), make("b", DeploymentState::Success, 1h)};
        const auto fetched
            = DeploymentList{make("b", DeploymentState::Success, 1h), make("a", DeploymentState::Success, 1h)};
        QCOMPARE(ids(shownAfterFetch(known, fetched, kReplaceAll, noon())),
            QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    }

    void whatIsShownAfterAFetchIsTheMergedListFilteredAndSorted_data()
    {
        QTest::addColumn<bool>("isReplaced");
        QTest::newRow("replaced") << true;
        QTest::newRow("kept") << false;
    }
    void whatIsShownAfterAFetchIsTheMergedListFilteredAndSorted()
    {
        QFETCH(bool, isReplaced);
        // The moduli share no factor, so that every state meets every age, and lists overlap, repeat and disagree.
        const auto list = [](int first, int step) {
            DeploymentList made;
            for (int i = first; i < 1'000; i += step) {
                const auto state = kAllDeploymentStates.at(static_cast<std::size_t>(i * step) % 9);
                made.append(makeSnapshot(QString::number(i % 701), state, noon() - 13min * (i * step % 911)));
            }
            return made;
        };
        QMap<QString, DeploymentSnapshot> latest;
        const auto isLatest = [&latest](const DeploymentSnapshot &deployment) {
            return !latest.contains(deployment.id) || deployment.updatedAt >= latest[deployment.id].updatedAt;
        };
        for (const DeploymentSnapshot &deployment : list(0, 3)) {
            if (isLatest(deployment))
                latest[deployment.id] = deployment;
        }
        const auto known = sharedList(latest.values());
        if (isReplaced)
            latest.clear();
        for (const DeploymentSnapshot &deployment : list(1, 2)) {
            if (isLatest(deployment))
                latest[deployment.id] = deployment;
        }
        const auto expected = filteredAndSorted(sharedList(latest.values()), noon());
        QVERIFY(expected.size() > 50);
        const auto replacing = [isReplaced](const DeploymentSnapshot &) {
            return isReplaced;
        };
        const auto shown = shownAfterFetch(known, list(1, 2), replacing, noon());
        QCOMPARE(sortedByID(shown), sortedByID(expected));
        QCOMPARE(filteredAndSorted(shown, noon()), shown);
    }

    void aRepositoryIsFoundByItsNodeId()
    {
        const RepositoryIndex index({makeRepository("R_other", "acme/other"), makeRepository("R_web", "acme/renamed")});
        const auto *record = index.find(make("a", DeploymentState::Success, 1h));
        QVERIFY(record);
        QCOMPARE(record->id(), QStringLiteral("R_web"));
    }

    void aRepositoryIsFoundByItsNameWhenTheIdHasAnotherForm()
    {
        const RepositoryIndex index({makeRepository("MDEwOlJlcG9zaXRvcnkx", "acme/web")});
        const auto *record = index.find(make("a", DeploymentState::Success, 1h));
        QVERIFY(record);
        QCOMPARE(record->id(), QStringLiteral("MDEwOlJlcG9zaXRvcnkx"));
    }

    void anUnknownRepositoryIsNotFound()
    {
        const RepositoryIndex index({makeRepository("R_other", "acme/other")});
        QVERIFY(!index.find(make("a", DeploymentState::Success, 1h)));
    }

    void onlyRepositoriesWithADeploymentUnderWayAreRefreshedInBetween()
    {
        const QList repositories{makeRepository("R_idle", "acme/idle"), makeRepository("R_web", "acme/web")};
        QCOMPARE(repositoriesWithActiveDeployments(repositories, {make("a", DeploymentState::Success, 1h)}).size(), 0);
        const auto active = repositoriesWithActiveDeployments(repositories, {make("a", DeploymentState::Queued, 1h)});
        QCOMPARE(active.size(), 1);
        QCOMPARE(active.first().id(), QStringLiteral("R_web"));
    }
};

VELMORA_TEST(DeploymentListTest)
#include "deployment_list_test.moc"
