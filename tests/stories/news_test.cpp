// SPDX-License-Identifier: MIT
#include "story.h"

#include "presentation/deployment_search.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// Which results are announced, by which program, and how often.
class NewsStories final : public QObject
{
    Q_OBJECT

    using State = DeploymentMonitorState::Case;

private Q_SLOTS:
    void whoInstallsAfterConnectingIsNotToldOfTheDayBefore()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        story.time.passes(kFullPoll);
        story.user.connects(u"mira"_s);
        story.github.fails(story.github.deploys(u"mira/shop"_s));
        story.github.installs(u"mira"_s, {u"shop"_s});
        story.user.refreshes();
        QCOMPARE(story.program.shows(), QStringList(u"mira/shop production failure"_s));
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.github.fails(story.github.deploys(u"mira/shop"_s));
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"mira/shop failed"_s));
    }

    void whatWasUnderWayWhenTheProgramEndedIsAnnouncedByTheNext()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        story.program.ends();
        story.github.fails(deployment);
        story.github.fails(story.github.deploys(u"octo/web"_s, u"staging"_s));
        story.program.starts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 2);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 1);
    }

    void whatEndedOvernightIsHistory()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        story.program.ends();
        story.github.fails(deployment);
        story.clock.setNow(story.clock.now() + 9h);
        story.program.starts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        QCOMPARE(story.desktop.notifications(), QStringList());
    }

    void aNightOfSleepEndsWithWhatIsSoNow()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        story.github.fails(deployment);
        // Longer than the token lives.
        story.time.passesAsleep(9h);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), DeploymentMonitorState::Case::Ready);
        QCOMPARE(story.program.message(), QString());
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void whatARefreshFromATerminalFindsIsAnnouncedByWhoeverGoesOn()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        story.program.ends();
        story.github.fails(deployment);
        story.program.runsOnce();
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.program.starts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void twoProgramsWithOneProfileAnnounceEachResultOnce()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        StoryProgram second(story.program);
        story.time.passes(kFullPoll);
        second.comesToRest();
        QCOMPARE(second.shows(), story.program.shows());
        story.github.fails(deployment);
        const QString other = story.github.deploys(u"octo/web"_s, u"staging"_s);
        story.time.passes(kFullPoll);
        second.comesToRest();
        story.github.fails(other);
        story.time.passes(kFullPoll);
        second.comesToRest();
        QCOMPARE(second.shows(), story.program.shows());
        QCOMPARE(story.desktop.notifications(), QStringList({u"octo/web failed"_s, u"octo/web failed"_s}));
    }

    void aDesktopThatDoesNotAnswerHoldsUpNeitherPollingNorTheNextResult()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        QStringList deployments;
        for (int number = 0; number < 3; ++number)
            deployments.append(story.github.deploys(u"octo/web"_s, u"stage-%1"_s.arg(number)));
        story.time.passes(kFullPoll);
        story.desktop.notificationServer->isSilent = true;
        for (const QString &deployment : std::as_const(deployments))
            story.github.fails(deployment);
        story.time.passes(5s);
        // At most the first has been accepted, as far as the program can know.
        QVERIFY(story.desktop.notifications().size() <= 1);
        const QString later = story.github.deploys(u"octo/web"_s, u"later"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 4);
        QCOMPARE(story.program.state(), State::Ready);
        story.desktop.notificationServer->isSilent = false;
        Q_EMIT story.desktop.notificationServer->serverGone();
        QVERIFY(waitUntil([&] { return story.desktop.notifications().size() == 3; }));
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 3);
    }

    void whatTheDesktopDidNotTakeIsAnnouncedAfterARestart()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        story.desktop.notificationServer->isSilent = true;
        story.github.fails(deployment);
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.program.ends();
        story.clock.setNow(story.clock.now() + 9h);
        story.desktop.notificationServer->isSilent = false;
        story.program.starts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void whatWaitsForApprovalIsAnnouncedOnceWhereThatIsChosen()
    {
        Story story;
        const QString deployment = somethingIsUnderWay(story);
        story.github.sets(story.github.deploys(u"octo/web"_s, u"staging"_s), u"WAITING"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.user.isNotifiedAbout(u"approvals"_s);
        story.github.sets(deployment, u"WAITING"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web waits for approval"_s));
        story.program.restarts();
        story.time.passes(kFullPoll);
        story.github.sets(deployment, u"IN_PROGRESS"_s);
        story.time.passes(kFullPoll);
        story.github.sets(deployment, u"WAITING"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 1);
    }

    void aBurstIsAnnouncedByThreeAndOneThatTellsHowMany()
    {
        Story story;
        QStringList repositories;
        for (int number = 1; number <= 9; ++number)
            repositories.append(u"service-%1"_s.arg(number));
        story.github.installs(u"octo"_s, repositories);
        story.user.connects(u"octo"_s);
        QStringList deployments;
        for (const QString &repository : std::as_const(repositories))
            deployments.append(story.github.deploys(u"octo/"_s + repository));
        story.time.passes(kFullPoll);
        for (const QString &deployment : std::as_const(deployments))
            story.github.fails(deployment);
        story.time.passes(kFullPoll);
        const QStringList posted = story.desktop.notifications();
        QCOMPARE(posted.size(), 9);
        QCOMPARE(posted.at(3), u"4 deployments failed"_s);
        QCOMPARE(posted.at(8), u"9 deployments failed"_s);
        const NotificationRequest last = story.desktop.notificationServer->requests.constLast();
        QCOMPARE(last.replacedHandle, u"4"_s);
        QVERIFY(last.body.endsWith(u" and 6 more"_s));
        // Each of them counts as announced.
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 9);
        story.github.fails(story.github.deploys(u"octo/service-1"_s));
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 10);
        QCOMPARE(story.desktop.notifications().constLast(), u"octo/service-1 failed"_s);
    }

    void onlyTheUsersOwnDeploymentsAreAnnouncedWhereThatIsChosen()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s, u"api"_s});
        story.user.connects(u"octo"_s);
        story.user.isNotifiedOnlyAboutOwn();
        const QString own = story.github.deploys(u"octo/web"_s, u"production"_s, u"Octo"_s);
        const QString another = story.github.deploys(u"octo/api"_s);
        story.time.passes(kFullPoll);
        story.program.restarts();
        story.github.fails(another);
        story.github.fails(own);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 2);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void aDeploymentIsFoundByWhatTheUserKnowsOfIt()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s, u"api"_s});
        story.user.connects(u"octo"_s);
        std::ignore = story.github.deploys(u"octo/web"_s, u"production"_s, u"Mira"_s);
        std::ignore = story.github.deploys(u"octo/api"_s, u"staging"_s);
        story.time.passes(kFullPoll);
        const auto found = [&story](const QString &text) {
            return DeploymentSearch(text).found(story.program.app().monitor().deployments()).size();
        };
        QCOMPARE(found(u"OCTO"_s), 2);
        QCOMPARE(found(u"mira web"_s), 1);
        QCOMPARE(found(u"mira api"_s), 0);
        // What comes later is found as well.
        std::ignore = story.github.deploys(u"octo/api"_s, u"production"_s, u"mira"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(found(u"mira api"_s), 1);
        story.program.restarts();
        QCOMPARE(found(u"mira"_s), 2);
    }

private:
    static QString somethingIsUnderWay(Story &story)
    {
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        return deployment;
    }
};

VELMORA_TEST(NewsStories)
#include "news_test.moc"
