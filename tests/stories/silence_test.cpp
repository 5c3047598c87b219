// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// Repositories that are muted, and notifications that are paused.
class SilenceStories final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMutedRepositoryIsListedAndCountedAndAnnouncesNothing()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        mutes(story, u"octo/web"_s, true);
        fails(story, u"octo/web"_s);
        fails(story, u"octo/api"_s);
        QCOMPARE(story.program.shows().size(), 2);
        QCOMPARE(story.program.app().monitor().presentation().failedCount, 2);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/api failed"_s));
        // It stays muted, and what was silent is not made up for.
        story.program.restarts();
        fails(story, u"octo/web"_s);
        mutes(story, u"octo/web"_s, false);
        story.time.passes(kFullPoll);
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 1);
        fails(story, u"octo/web"_s);
        QCOMPARE(story.desktop.notifications(), (QStringList{u"octo/api failed"_s, u"octo/web failed"_s}));
    }

    void theButtonOfANotificationMutesItsRepository()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        fails(story, u"octo/web"_s);
        auto &server = *story.desktop.notificationServer;
        const QStringList opened = story.desktop.browser.opened;
        QCOMPARE(server.requests.constLast().muteLabel, u"Mute web"_s);
        for (int i = 0; i < 2; ++i)
            Q_EMIT server.activated(u"1"_s, NotificationAction::Mute);
        story.program.comesToRest();
        QCOMPARE(story.desktop.browser.opened, opened);
        fails(story, u"octo/web"_s);
        fails(story, u"octo/api"_s);
        QCOMPARE(story.desktop.notifications(), (QStringList{u"octo/web failed"_s, u"octo/api failed"_s}));
        // The log of the first can still be opened, once.
        for (int i = 0; i < 2; ++i)
            Q_EMIT server.activated(u"1"_s, NotificationAction::Open);
        QCOMPARE(story.desktop.browser.opened.size(), opened.size() + 1);
        story.program.restarts();
        fails(story, u"octo/web"_s);
        QCOMPARE(story.desktop.notifications().size(), 2);
    }

    void aMutingEndsByItselfAndIsForgotten()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        mutes(story, u"octo/web"_s, true, story.clock.now() + 8h);
        QCOMPARE(story.program.app().stores().preferences->stringList(u"repositories.muted"_s).size(), 1);
        fails(story, u"octo/web"_s);
        story.time.passesAsleep(8h);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.app().stores().preferences->stringList(u"repositories.muted"_s), QStringList());
        QCOMPARE(story.desktop.notifications(), QStringList());
        fails(story, u"octo/web"_s);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void whatAnotherProgramMutesIsSilentAtOnce()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        {
            StoryProgram terminal(story.program);
            std::ignore = awaitValue(terminal.control().mute({u"octo/web"_s, true, std::nullopt}, {}));
            terminal.comesToRest();
        }
        const Preferences *const preferences = story.program.app().stores().preferences;
        QVERIFY(waitUntil([&] { return !preferences->stringList(u"repositories.muted"_s).isEmpty(); }));
        fails(story, u"octo/web"_s);
        QCOMPARE(story.desktop.notifications(), QStringList());
    }

    void whatFailsDuringAPauseIsSummedUpAtItsEnd()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        pauses(story, story.clock.now() + 10min);
        const QString web = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        story.github.succeeds(web);
        fails(story, u"octo/api"_s);
        fails(story, u"octo/web"_s);
        QCOMPARE(story.program.app().monitor().presentation().failedCount, 2);
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.time.passes(10min);
        QCOMPARE(story.desktop.notifications(), QStringList(u"2 deployments failed"_s));
        fails(story, u"octo/api"_s);
        QCOMPARE(story.desktop.notifications(), (QStringList{u"2 deployments failed"_s, u"octo/api failed"_s}));
    }

    void aPauseSurvivesTheProgramAndIsSummedUpByTheNextOne()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        pauses(story, story.clock.now() + 1h);
        fails(story, u"octo/api"_s);
        story.program.restarts();
        story.time.passes(kFullPoll);
        fails(story, u"octo/web"_s);
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.program.ends();
        story.clock.setNow(story.clock.now() + 9h);
        story.program.starts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"2 deployments failed"_s));
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications().size(), 1);
    }

    void aPauseEndsWhileTheMachineSleeps()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        pauses(story, story.clock.now() + 1h);
        fails(story, u"octo/api"_s);
        story.time.passesAsleep(9h);
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/api failed"_s));
    }

    void whoResumesInATerminalGetsTheSummaryFromTheTray()
    {
        Story story;
        twoRepositoriesAreWatched(story);
        pauses(story, std::nullopt);
        fails(story, u"octo/api"_s);
        story.time.passes(10min);
        QCOMPARE(story.desktop.notifications(), QStringList());
        {
            StoryProgram terminal(story.program);
            QVERIFY(!awaitValue(terminal.control().pause({false, std::nullopt}, {})).isPaused);
            terminal.comesToRest();
        }
        QVERIFY(waitUntil([&] { return !story.desktop.notifications().isEmpty(); }));
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/api failed"_s));
    }

private:
    static void twoRepositoriesAreWatched(Story &story)
    {
        story.github.installs(u"octo"_s, {u"web"_s, u"api"_s});
        story.user.connects(u"octo"_s);
        story.time.passes(kFullPoll);
    }

    static void fails(Story &story, const QString &repository)
    {
        story.github.fails(story.github.deploys(repository));
        story.time.passes(kFullPoll);
    }

    static void pauses(Story &story, std::optional<Instant> until)
    {
        QVERIFY(awaitValue(story.program.control().pause({true, until}, {})).isPaused);
        story.program.comesToRest();
    }

    static void mutes(
        Story &story, const QString &repository, bool isMuted, std::optional<Instant> until = std::nullopt)
    {
        const MutingAnswer answer = awaitValue(story.program.control().mute({repository, isMuted, until}, {}));
        QCOMPARE(answer.refusal, QString());
        QCOMPARE(answer.isMuted, isMuted);
        story.program.comesToRest();
    }
};

VELMORA_TEST(SilenceStories)
#include "silence_test.moc"
