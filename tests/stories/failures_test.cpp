// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// Failures that are over.
class FailureStories final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMendedFailureCountsUntilTheUserChoosesOtherwise()
    {
        Story story;
        somethingHasFailed(story);
        QCOMPARE(failed(story), 1);
        story.github.succeeds(story.github.deploys(u"octo/web"_s));
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 2);
        QCOMPARE(mended(story), 1);
        QCOMPARE(failed(story), 1);
        choose(story, true);
        QCOMPARE(failed(story), 0);
        QCOMPARE(story.program.shows().size(), 2);
        story.program.restarts();
        QCOMPARE(failed(story), 0);
        story.time.passes(kFullPoll);
        QCOMPARE(failed(story), 0);
        // What fails next is announced, and counts.
        story.github.fails(story.github.deploys(u"octo/web"_s));
        story.time.passes(kFullPoll);
        QCOMPARE(failed(story), 1);
        QCOMPARE(story.desktop.notifications(), (QStringList{u"octo/web failed"_s, u"octo/web failed"_s}));
        choose(story, false);
        QCOMPARE(failed(story), 2);
    }

    void aFailureStaysMendedWhenGitHubReplacesWhatHasMendedIt()
    {
        Story story;
        somethingHasFailed(story);
        const QString first = story.github.deploys(u"octo/web"_s);
        story.github.succeeds(first);
        story.time.passes(kFullPoll);
        const FailureMarks marks = story.program.app().monitor().marks();
        story.github.sets(first, u"INACTIVE"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        QCOMPARE(marks.size(), 1);
        QCOMPARE(story.program.app().monitor().marks(), marks);
    }

    void aDismissedFailureIsQuietUntilItsStateChanges()
    {
        Story story;
        const QString failure = somethingHasFailed(story);
        dismissAll(story);
        QCOMPARE(failed(story), 0);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        story.program.restarts();
        QCOMPARE(failed(story), 0);
        story.time.passes(kFullPoll);
        QCOMPARE(failed(story), 0);
        story.github.fails(story.github.deploys(u"octo/web"_s));
        story.time.passes(kFullPoll);
        QCOMPARE(failed(story), 1);
        story.github.sets(failure, u"IN_PROGRESS"_s);
        story.time.passes(kFullPoll);
        story.github.fails(failure);
        story.time.passes(kFullPoll);
        QCOMPARE(failed(story), 2);
    }

    void aFailureThatIsGoneForAWhileStaysDismissed()
    {
        Story story;
        somethingHasFailed(story);
        dismissAll(story);
        story.user.removes(u"octo"_s);
        QCOMPARE(story.program.shows(), QStringList());
        story.user.connects(u"octo"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        QCOMPARE(failed(story), 0);
    }

    void whatAnotherProgramDismissesIsFollowed()
    {
        Story story;
        somethingHasFailed(story);
        {
            StoryProgram terminal(story.program);
            const FailuresAnswer answer = awaitValue(terminal.control().failures({std::nullopt, {true, {}, {}}}, {}));
            QCOMPARE(uncounted(answer.marks), 1);
            terminal.comesToRest();
        }
        QVERIFY(waitUntil([&] { return failed(story) == 0; }));
    }

private:
    static QString somethingHasFailed(Story &story)
    {
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        story.github.fails(deployment);
        story.time.passes(kFullPoll);
        return deployment;
    }
    static void dismissAll(Story &story)
    {
        const FailuresAnswer answer = awaitValue(story.program.control().failures({std::nullopt, {true, {}, {}}}, {}));
        QCOMPARE(uncounted(answer.marks), answer.deployments.size());
        story.program.comesToRest();
    }

    /// The failures that the item counts.
    static qsizetype failed(Story &story) { return story.program.app().monitor().presentation().failedCount; }
    static qsizetype mended(Story &story)
    {
        const FailureMarks marks = story.program.app().monitor().marks();
        return std::ranges::count_if(marks, [](const FailureMark &mark) { return mark.mending.has_value(); });
    }
    static void choose(Story &story, bool ignoresMended)
    {
        const FailuresAnswer answer = awaitValue(story.program.control().failures({ignoresMended, {}}, {}));
        QCOMPARE(answer.ignoresMended, ignoresMended);
        story.program.comesToRest();
    }
};

VELMORA_TEST(FailureStories)
#include "failures_test.moc"
