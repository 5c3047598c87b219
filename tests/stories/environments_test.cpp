// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// Only the environments that matter.
class EnvironmentStories final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void previewsAreHiddenTomorrowsToo()
    {
        Story story;
        watchesWeb(story);
        const QString first = deploysTo(story, u"preview-117"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web preview-117 inProgress"_s));
        QCOMPARE(choose(story, {{}, {}, {u"preview-*"_s}, {}}), QStringList(u"hide preview-* 1"_s));
        QCOMPARE(story.program.shows(), QStringList());
        story.github.fails(first);
        deploysTo(story, u"preview-118"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList());
        QCOMPARE(story.program.app().monitor().hidden().deployments.size(), 2);
        QCOMPARE(story.program.app().monitor().presentation().failedCount, 0);
        QCOMPARE(story.program.app().monitor().presentation().activeCount, 0);
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList());
        // A choice that is taken back announces nothing old.
        QCOMPARE(choose(story, {{u"preview-*"_s}, {}, {}, {}}).size(), 1);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 2);
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.github.fails(deploysTo(story, u"preview-119"_s));
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void onlyProductionIsAnnouncedAndEverythingIsListed()
    {
        Story story;
        watchesWeb(story);
        const QString production = deploysTo(story, u"Production"_s);
        const QString staging = deploysTo(story, u"staging"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(choose(story, {{}, {}, {}, true}), (QStringList{u"notify Production 1"_s, u"show staging 1"_s}));
        story.github.fails(staging);
        story.time.passes(kFullPoll);
        QCOMPARE(story.desktop.notifications(), QStringList());
        story.github.fails(production);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 2);
        QCOMPARE(story.program.app().monitor().presentation().failedCount, 2);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void aChoiceForOneRepositoryOutlivesItsNameAndTheAccount()
    {
        Story story;
        watchesWeb(story);
        deploysTo(story, u"staging"_s);
        story.github.deploys(u"octo/api"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(choose(story, {{}, {}, {u"octo/web:*"_s}, {}}).last(), u"hide octo/web:* 1"_s);
        QCOMPARE(story.program.shows(), QStringList(u"octo/api production inProgress"_s));
        story.github.renames(u"octo/web"_s, u"site"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(choose(story, {}).last(), u"hide octo/site:* 1"_s);
        QCOMPARE(story.program.shows().size(), 1);
        story.user.removes(u"octo"_s);
        story.user.connects(u"octo"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/api production inProgress"_s));
    }

    void whatWasSeenIsListedForAMonth()
    {
        Story story;
        watchesWeb(story);
        story.github.succeeds(deploysTo(story, u"staging"_s));
        story.time.passes(kFullPoll);
        story.program.ends();
        story.clock.setNow(story.clock.now() + 20 * 24h);
        story.program.starts();
        QCOMPARE(story.program.shows(), QStringList());
        QCOMPARE(choose(story, {}), QStringList(u"notify staging 1"_s));
        story.program.ends();
        story.clock.setNow(story.clock.now() + 10 * 24h);
        story.program.starts();
        QCOMPARE(choose(story, {}), QStringList());
    }

    void whatOnlyARemovedAccountHasSeenIsForgotten()
    {
        Story story;
        watchesWeb(story);
        deploysTo(story, u"staging"_s);
        story.github.installs(u"mira"_s, {u"site"_s});
        story.user.connects(u"mira"_s);
        story.github.deploys(u"mira/site"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(choose(story, {}), (QStringList{u"notify production 1"_s, u"notify staging 1"_s}));
        story.user.removes(u"octo"_s);
        QCOMPARE(choose(story, {}), QStringList(u"notify production 1"_s));
        story.program.restarts();
        QCOMPARE(choose(story, {}), QStringList(u"notify production 1"_s));
        story.user.removes(u"mira"_s);
        QCOMPARE(choose(story, {}), QStringList());
        story.user.connects(u"mira"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(choose(story, {}), QStringList(u"notify production 1"_s));
    }

    void whatAnotherProgramHidesIsFollowed()
    {
        Story story;
        watchesWeb(story);
        deploysTo(story, u"staging"_s);
        story.time.passes(kFullPoll);
        {
            StoryProgram terminal(story.program);
            QCOMPARE(awaitValue(terminal.control().environments({{}, {}, {u"staging"_s}, {}}, {})).refusal, QString());
            terminal.comesToRest();
        }
        QVERIFY(waitUntil([&] { return story.program.shows().isEmpty(); }));
    }

private:
    static void watchesWeb(Story &story)
    {
        story.github.installs(u"octo"_s, {u"web"_s, u"api"_s});
        story.user.connects(u"octo"_s);
        story.time.passes(kFullPoll);
    }
    static QString deploysTo(Story &story, const QString &environment)
    {
        return story.github.deploys(u"octo/web"_s, environment);
    }
    /// Chooses like `velmora environments`; returns its lines, such as "hide preview-* 1".
    static QStringList choose(Story &story, const EnvironmentSwitches &switches)
    {
        const EnvironmentsAnswer answer = awaitValue(story.program.control().environments(switches, {}));
        story.program.comesToRest();
        QStringList lines(answer.refusal);
        for (const ListedEnvironment &listed : answer.choices.environments) {
            const QString scope = listed.repository ? *listed.repository + u':' : QString();
            lines.append(u"%1 %2 %3"_s.arg(
                rawValue(listed.choice), scope + listed.environment, QString::number(listed.repositories)));
        }
        lines.removeAll(QString());
        return lines;
    }
};

VELMORA_TEST(EnvironmentStories)
#include "environments_test.moc"
