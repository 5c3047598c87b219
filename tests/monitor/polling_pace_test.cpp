// SPDX-License-Identifier: MIT
#include "monitor/polling_pace.h"

#include "monitor/polling_schedule.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QRandomGenerator>
#include <QTest>

#include <vector>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

using Scope = RefreshScope;

namespace
{

constexpr qint64 kAlice = 1;
constexpr qint64 kBob = 2;

QList<RepositoryRecord> repositories(int count, qint64 identityID = kAlice)
{
    QList<RepositoryRecord> result;
    for (int i = 0; i < count; ++i) {
        RepositoryRecord record;
        record.identityID = identityID;
        record.repository.databaseID = i;
        record.repository.nodeID = u"R_%1_%2"_s.arg(identityID).arg(i);
        record.repository.nameWithOwner = u"owner%1/name%2"_s.arg(identityID).arg(i);
        result.append(record);
    }
    return result;
}

SharedDeployment deploymentIn(const RepositoryRecord &record, DeploymentState state)
{
    DeploymentSnapshot snapshot = makeSnapshot(u"D_"_s + record.id(), state, noon());
    snapshot.repositoryNodeID = record.id();
    snapshot.repositoryName = record.repository.nameWithOwner;
    return snapshot;
}

QStringList idsOf(const QList<RepositoryRecord> &records)
{
    QStringList ids;
    for (const auto &record : records)
        ids.append(record.id());
    return ids;
}

qint64 requestsFor(qsizetype count)
{
    return (count + 19) / 20;
}

/// A GitHub that grants 5000 points for every hour.
struct Points {
    qint64 remaining = 5000;
    Instant resetAt = noon() + 1h;

    void renew(Instant now)
    {
        while (now >= resetAt) {
            remaining = 5000;
            resetAt += 1h;
        }
    }
};

/// What a day of polling showed.
struct Day {
    /// Between two looks at a repository without a deployment under way.
    Instant::duration averageUnseen{0};
    bool hasPaused = false;
    Instant::duration longestUnseen{0};
    Instant::duration longestUnseenActive{0};
};

/// Every hour has new points and the same rules. Under the sanitizers a whole day would take minutes.
#ifdef __SANITIZE_ADDRESS__
constexpr auto kDay = 65min;
#else
constexpr auto kDay = 24h;
#endif

/// A day of ticks for so many repositories. Other tools take up to 40 points every few minutes. Deployments come and
/// go: of the repositories, `activeCount` have one under way, and 300 a result.
Day simulatedDay(int count, int activeCount, quint32 seed)
{
    QRandomGenerator random(seed);
    const auto monitored = repositories(count);
    FakeClock clock(noon());
    PollingPace pace;
    Points points;
    Day day;
    std::vector<Instant> seenAt(static_cast<std::size_t>(count), noon());
    std::vector<std::optional<Instant>> activeSince(static_cast<std::size_t>(count));
    qint64 gaps = 0;
    DeploymentList shown;
    std::optional<Instant> refreshedAt;
    Instant othersAt = noon() + 1min;
    Instant changeAt = noon();
    const Instant end = noon() + kDay;
    for (; clock.now() < end; clock.advance(kTickInterval)) {
        const Instant now = clock.now();
        points.renew(now);
        if (now >= othersAt) {
            points.remaining = std::max<qint64>(0, points.remaining - random.bounded(40));
            othersAt = now + std::chrono::seconds(random.bounded(30, 600));
        }
        if (now >= changeAt) {
            shown.clear();
            const auto first = static_cast<std::size_t>(random.bounded(count));
            std::vector<std::optional<Instant>> nextActive(activeSince.size());
            for (std::size_t i = 0; i < std::min(activeSince.size(), static_cast<std::size_t>(activeCount + 300));
                 ++i) {
                const std::size_t place = (first + i) % activeSince.size();
                const bool isUnderWay = i < static_cast<std::size_t>(activeCount);
                if (isUnderWay)
                    nextActive[place] = activeSince[place].value_or(now);
                shown.append(deploymentIn(monitored.at(static_cast<qsizetype>(place)),
                    isUnderWay ? DeploymentState::InProgress : DeploymentState::Success));
            }
            activeSince = nextActive;
            changeAt = now + std::chrono::minutes(random.bounded(2, 20));
        }
        const auto decision = decide({now, refreshedAt, activeCount > 0}, now);
        if (decision == PollingDecision::Nothing && !pace.isStretched(kAlice))
            continue;
        const bool isFull = decision == PollingDecision::AllDeployments;
        if (isFull)
            refreshedAt = now;
        const auto due = pace.due(monitored, shown, isFull ? Scope::All : Scope::Active, now);
        const qint64 cost = requestsFor(due.size());
        if (cost > points.remaining) {
            day.hasPaused = true;
            continue;
        }
        points.remaining -= cost;
        if (!due.isEmpty())
            pace.record(
                kAlice, due, {cost, points.remaining, points.resetAt}, isFull ? Scope::All : Scope::Active, now);
        for (const auto &record : due) {
            const auto place = static_cast<std::size_t>(record.repository.databaseID);
            const auto gap = now - std::exchange(seenAt[place], now);
            day.longestUnseen = std::max(day.longestUnseen, gap);
            if (activeSince[place]) {
                day.longestUnseenActive = std::max(day.longestUnseenActive, std::min(gap, now - *activeSince[place]));
            } else {
                day.averageUnseen += gap;
                ++gaps;
            }
        }
    }
    for (std::size_t i = 0; i < seenAt.size(); ++i) {
        day.longestUnseen = std::max(day.longestUnseen, end - seenAt[i]);
        if (activeSince[i])
            day.longestUnseenActive = std::max(day.longestUnseenActive, end - std::max(seenAt[i], *activeSince[i]));
    }
    day.averageUnseen /= gaps;
    return day;
}

} // namespace

class PollingPaceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatTheScopeNamesIsDueBeforeAnythingIsKnown()
    {
        const auto all = repositories(3);
        const DeploymentList shown{deploymentIn(all[1], DeploymentState::Queued)};
        PollingPace pace;
        QCOMPARE(pace.due(all, shown, Scope::All, noon()), all);
        QCOMPARE(pace.due(all, shown, Scope::Retried, noon()), all);
        QCOMPARE(idsOf(pace.due(all, shown, Scope::Active, noon())), QStringList(all[1].id()));
        QVERIFY(!pace.isStretched(kAlice));
        QVERIFY(!pace.interval());
    }

    void fewRepositoriesAreNeverStretchedByAFullBudget()
    {
        const auto all = repositories(20);
        const DeploymentList shown{deploymentIn(all[1], DeploymentState::Queued)};
        PollingPace pace;
        for (int i = 0; i < 24 * 720; ++i) {
            const Instant now = noon() + i * kTickInterval;
            // Everything is spent that 30 and 5 seconds cost, and the hour begins anew.
            pace.record(kAlice, all, {1, 5000 - i % 720, noon() + (i / 720 + 1) * 1h}, Scope::Active, now);
            QCOMPARE(pace.due(all, shown, Scope::Active, now).size(), 1);
            QVERIFY(!pace.isStretched(kAlice));
        }
    }

    void whereThePointsDoNotLastAPartIsDue()
    {
        const auto all = repositories(1000);
        PollingPace pace;
        pace.record(kAlice, all, {50, 4950, noon() + 1h}, Scope::All, noon());
        QVERIFY(pace.due(all, {}, Scope::All, noon() + 30s).size() < 1000);
        QVERIFY(pace.isStretched(kAlice));
        // 4450 points an hour, 50 for each round.
        QCOMPARE(pace.interval(), std::optional(41s));
    }

    void aSingleRepositoryWaitsForAWholeRequest()
    {
        const auto all = repositories(1);
        PollingPace pace;
        pace.record(kAlice, all, {1, 4999, noon() + 1h}, Scope::All, noon());
        // Other tools have taken nearly all.
        pace.record(kAlice, all, {1, 60, noon() + 1h}, Scope::All, noon());
        QVERIFY(pace.due(all, {}, Scope::All, noon() + 30s).isEmpty());
        QCOMPARE(pace.interval(), std::optional(60s));
        QCOMPARE(pace.due(all, {}, Scope::All, noon() + 61s).size(), 1);
    }

    void activeOnesComeFirstThenThoseOfTheLastDay()
    {
        const auto all = repositories(3000);
        const DeploymentList shown{
            deploymentIn(all[2999], DeploymentState::InProgress), deploymentIn(all[2000], DeploymentState::Failure)};
        PollingPace pace;
        pace.record(kAlice, all, {150, 4850, noon() + 1h}, Scope::All, noon());
        static_cast<void>(pace.due(all, shown, Scope::Active, noon() + 25s));
        const auto due = idsOf(pace.due(all, shown, Scope::All, noon() + 35s));
        QVERIFY(due.size() < 1000);
        QVERIFY(due.contains(all[2999].id()));
        QVERIFY(due.contains(all[2000].id()));
        QVERIFY(due.contains(all[0].id()));
        QVERIFY(!due.contains(all[1999].id()));
    }

    void whatWasNeverAnsweredComesBeforeWhatWas()
    {
        auto all = repositories(3000);
        PollingPace pace;
        pace.record(kAlice, all.first(2990), {150, 4850, noon() + 1h}, Scope::All, noon());
        static_cast<void>(pace.due(all, {}, Scope::All, noon() + 30s));
        const auto due = idsOf(pace.due(all, {}, Scope::All, noon() + 40s));
        for (const auto &record : all.last(10))
            QVERIFY(due.contains(record.id()));
    }

    void activeOnesDoNotStarveTheOthers()
    {
        const auto all = repositories(3000);
        DeploymentList shown;
        for (int i = 0; i < 2000; ++i)
            shown.append(deploymentIn(all[i], DeploymentState::InProgress));
        PollingPace pace;
        pace.record(kAlice, all, {150, 4850, noon() + 1h}, Scope::All, noon());
        QSet<QString> seen;
        qint64 remaining = 4850;
        for (Instant now = noon() + 5s; now < noon() + 10min; now += 5s) {
            const auto due = pace.due(all, shown, Scope::Active, now);
            remaining -= requestsFor(due.size());
            pace.record(kAlice, due, {requestsFor(due.size()), remaining, noon() + 1h}, Scope::Active, now);
            for (const auto &record : due)
                seen.insert(record.id());
        }
        QCOMPARE(seen.size(), 3000);
    }

    void oneIdentityDoesNotStretchAnother()
    {
        const auto many = repositories(1000);
        const auto few = repositories(5, kBob);
        PollingPace pace;
        pace.record(kAlice, many, {50, 4950, noon() + 1h}, Scope::All, noon());
        pace.record(kBob, few, {1, 4999, noon() + 1h}, Scope::All, noon());
        const auto due = pace.due(many + few, {}, Scope::All, noon() + 30s);
        QVERIFY(pace.isStretched(kAlice));
        QVERIFY(!pace.isStretched(kBob));
        QCOMPARE(due.last(5), few);
        QVERIFY(due.size() < 1005);
        QVERIFY(pace.interval());
        pace.retain({kBob});
        QVERIFY(!pace.interval());
    }

    void theIntervalChangesOnlyWhenItIsWorthTelling()
    {
        const auto all = repositories(1000);
        PollingPace pace;
        pace.record(kAlice, all, {50, 4950, noon() + 1h}, Scope::All, noon());
        static_cast<void>(pace.due(all, {}, Scope::All, noon() + 30s));
        QCOMPARE(pace.interval(), std::optional(41s));
        pace.record(kAlice, all, {50, 4650, noon() + 1h}, Scope::All, noon() + 60s);
        static_cast<void>(pace.due(all, {}, Scope::All, noon() + 60s));
        QCOMPARE(pace.interval(), std::optional(41s));
        pace.record(kAlice, all, {50, 2000, noon() + 1h}, Scope::All, noon() + 90s);
        static_cast<void>(pace.due(all, {}, Scope::All, noon() + 90s));
        QCOMPARE(pace.interval(), std::optional(88s));
    }

    void aClockThatWasSetBackDoesNotStopTheTurns()
    {
        const auto all = repositories(3000);
        PollingPace pace;
        pace.record(kAlice, all, {150, 4850, noon() + 1h}, Scope::All, noon());
        static_cast<void>(pace.due(all, {}, Scope::All, noon() + 30s));
        static_cast<void>(pace.due(all, {}, Scope::All, noon() - 2h));
        QVERIFY(!pace.due(all, {}, Scope::All, noon() - 2h + 5s).isEmpty());
    }

    void thePointsOfADayLast_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("active");
        QTest::newRow("1,000") << 1000 << 10;
        QTest::newRow("3,000") << 3000 << 60;
        QTest::newRow("10,000") << 10000 << 60;
    }
    void thePointsOfADayLast()
    {
        QFETCH(const int, count);
        QFETCH(const int, active);
        const Day day = simulatedDay(count, active, 20260501);
        QVERIFY(!day.hasPaused);
        QVERIFY2(day.longestUnseen <= 2 * day.averageUnseen,
            qPrintable(u"%1 s, on average %2 s"_s.arg(day.longestUnseen / 1s).arg(day.averageUnseen / 1s)));
        QVERIFY(count != 3000 || day.longestUnseenActive <= 15s);
    }
};

VELMORA_TEST(PollingPaceTest)
#include "polling_pace_test.moc"
