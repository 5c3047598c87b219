// SPDX-License-Identifier: MIT
#include "simulator/demo_world.h"
#include "simulator/story.h"
#include "support/test_main.h"

#include <QSet>
#include <QTest>

using namespace velmora::simulator;
using namespace Qt::Literals::StringLiterals;

class StoryTest final : public QObject
{
    Q_OBJECT

    static constexpr Milliseconds kStart = 1'790'000'000'000;
    QUrl m_web{u"http://127.0.0.1:1"_s};

    static QString lines(const World &world)
    {
        QString all;
        for (int i = 0; i < world.repositories().size(); ++i) {
            for (const Deployment &deployment : world.repositories()[i].deployments)
                all += u"%1 %2 %3 %4 %5\n"_s.arg(world.nameWithOwner(i), deployment.id, *deployment.environment,
                    *deployment.state, QString::number(deployment.updatedAt));
        }
        return all;
    }

    QString played(quint64 seed, Milliseconds step)
    {
        Random random(seed);
        World world = demoWorld(random, kStart, m_web);
        Story story(&world, &random, m_web);
        for (Milliseconds at = step; at <= 600'000; at += step)
            story.advance(step, kStart + at);
        return lines(world);
    }

private Q_SLOTS:
    void aSeedAlwaysTellsTheSameStoryWhateverTheSteps()
    {
        QCOMPARE(played(7, 100), played(7, 60'000));
        QVERIFY(played(7, 60'000) != played(8, 60'000));
    }

    void theWorldHasPeopleOrganisationsRepositoriesAndAHistory()
    {
        Random random(1);
        const World world = demoWorld(random, kStart, m_web);
        QCOMPARE(world.identities().size(), 3);
        QCOMPARE(world.repositories().size(), 30);
        const auto &repositories = world.repositories();
        QVERIFY(std::any_of(repositories.begin(), repositories.end(),
            [](const Repository &repository) { return repository.deployments.size() >= 20; }));
        for (int identity : world.identities())
            QVERIFY(world.installationsOf(identity).size() >= 2);
    }

    void everyDeploymentGoesFromQueuedToAnOutcome()
    {
        Random random(3);
        World world = demoWorld(random, kStart, m_web);
        Story story(&world, &random, m_web);
        QHash<QString, QStringList> seen;
        QSet<QString> history;
        for (const Repository &repository : world.repositories()) {
            for (const Deployment &deployment : repository.deployments)
                history.insert(deployment.id);
        }
        for (Milliseconds at = 100; at <= 900'000; at += 100) {
            story.advance(100, kStart + at);
            QVERIFY(story.underWay() <= Story::kMostUnderWay);
            for (const Repository &repository : world.repositories()) {
                for (const Deployment &deployment : repository.deployments) {
                    if (history.contains(deployment.id))
                        continue;
                    QStringList &states = seen[deployment.id];
                    if (states.isEmpty() || states.last() != deployment.state)
                        states.append(*deployment.state);
                }
            }
        }
        int ended = 0;
        for (const QStringList &states : seen) {
            if (!QStringList({u"ACTIVE"_s, u"FAILURE"_s, u"ERROR"_s}).contains(states.last()))
                continue;
            ++ended;
            QCOMPARE(states[0], u"PENDING"_s);
            QCOMPARE(states[1], u"QUEUED"_s);
            QVERIFY(states.contains(u"IN_PROGRESS"_s));
        }
        QVERIFY(ended > 10);
    }

    void inAnOutageSeveralFailAtOnce()
    {
        Random random(5);
        World world = demoWorld(random, kStart, m_web);
        Story story(&world, &random, m_web);
        const auto failures = [&] {
            int count = 0;
            for (const Repository &repository : world.repositories()) {
                count += static_cast<int>(std::ranges::count_if(repository.deployments, [](const Deployment &each) {
                    return each.latestStatus && each.latestStatus->description == u"The cluster does not answer"_s;
                }));
            }
            return count;
        };
        story.advance(Story::kFirstOutage - 1, kStart + Story::kFirstOutage - 1);
        QCOMPARE(failures(), 0);
        story.advance(1, kStart + Story::kFirstOutage);
        QCOMPARE(failures(), Story::kOutage);
    }

    void aSuccessEndsTheEarlierOneUnlessInProduction()
    {
        for (const auto &[environment, state] :
            {std::pair(u"staging"_s, u"INACTIVE"_s), {u"production"_s, u"ACTIVE"_s}}) {
            World world = artificialWorld({.repositories = 1}, kStart, m_web);
            Script script;
            script.environment = environment;
            const Step success{0, u"SUCCESS"_s, std::nullopt};
            const QString first = beginDeployment(world, script, kStart);
            applyStep(world, script, first, success, kStart);
            const QString second = beginDeployment(world, script, kStart + 1);
            applyStep(world, script, second, success, kStart + 1);
            QCOMPARE(world.changeDeployment(0, first)->state, state);
            QCOMPARE(world.changeDeployment(0, second)->state, u"ACTIVE"_s);
        }
    }

    void aWeekOfStoryTakesNoMoreMemoryThanADay()
    {
        Random random(1);
        World world = demoWorld(random, kStart, m_web);
        Story story(&world, &random, m_web);
        story.advance(7 * 86'400'000LL, kStart + 7 * 86'400'000LL);
        for (const Repository &repository : world.repositories())
            QCOMPARE(repository.deployments.size(), World::kMostDeployments);
        QVERIFY(story.underWay() <= Story::kMostUnderWay);
    }
};

VELMORA_TEST(StoryTest)
#include "story_test.moc"
