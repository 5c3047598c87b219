// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// The network goes down and comes back, and GitHub sometimes fails.
class NetworkStories final : public QObject
{
    Q_OBJECT

    using State = DeploymentMonitorState::Case;

private Q_SLOTS:
    void aRestartWithoutANetworkShowsWhatWasSaved()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        story.github.isUnreachable();
        story.program.restarts();
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        story.time.passes(10s);
        QCOMPARE(story.program.state(), State::Stale);
        QVERIFY(story.program.message().startsWith(u"octo: "_s));
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        story.github.recovers();
        story.github.succeeds(deployment);
        story.time.passes(5min);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production success"_s));
    }

    void pointsThatRunLowLastUntilTheReset()
    {
        Story story;
        QStringList names;
        for (int i = 0; i < 60; ++i)
            names.append(u"web%1"_s.arg(i));
        story.github.installs(u"octo"_s, names);
        const QString underWay = story.github.deploys(u"octo/web59"_s);
        story.user.connects(u"octo"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.app().monitor().state().refreshIntervalSeconds, std::nullopt);
        // A tool of the user has left 300 points. Every 30 and 5 seconds would cost 960 in this hour.
        story.github.hasPoints(u"octo"_s, 300, story.clock.now() + 1h);
        story.time.passes(kFullPoll);
        const auto interval = story.program.app().monitor().state().refreshIntervalSeconds;
        QVERIFY(interval && *interval > 30 && *interval < 120);
        QCOMPARE(awaitValue(story.program.control().report({})).state.refreshIntervalSeconds, interval);
        story.github.succeeds(underWay);
        story.github.deploys(u"octo/web0"_s);
        story.time.passes(std::chrono::seconds(2 * *interval));
        QCOMPARE(story.program.shows(),
            (QStringList{u"octo/web0 production inProgress"_s, u"octo/web59 production success"_s}));
        for (int i = 0; i < 55; ++i) {
            story.time.passes(1min);
            QCOMPARE(story.program.state(), State::Ready);
        }
        story.time.passes(6min);
        QCOMPARE(story.program.app().monitor().state().refreshIntervalSeconds, std::nullopt);
    }

    void aRefreshFromATerminalKeepsWhatWasSavedOfWhoeverCannotBeReached()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.installs(u"mira"_s, {u"shop"_s});
        story.user.connects(u"octo"_s);
        story.user.connects(u"mira"_s);
        story.github.deploys(u"octo/web"_s);
        story.github.deploys(u"mira/shop"_s);
        story.time.passes(kFullPoll);
        const QStringList rows = story.program.shows();
        QCOMPARE(rows.size(), 2);
        story.program.ends();
        story.github.failsFor(u"mira"_s);
        story.program.runsOnce();
        story.program.starts();
        QCOMPARE(story.program.shows(), rows);
    }

    void theAgeOfWhatWasSavedIsKnownWithoutANetwork()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        const auto savedAt = story.clock.now();
        story.program.ends();
        story.clock.setNow(savedAt + 2h);
        story.github.isUnreachable();
        story.program.starts();
        story.time.passes(10s);
        QCOMPARE(story.program.state(), State::Stale);
        const auto shownAs = story.program.app().monitor().state().lastUpdatedAt;
        QVERIFY(shownAs && *shownAs <= savedAt && *shownAs > savedAt - kFullPoll);
    }

    void aSecondIdentityThatCannotBeReachedTakesNothingFromTheFirst()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.installs(u"mira"_s, {u"shop"_s});
        story.user.connects(u"octo"_s);
        story.user.connects(u"mira"_s);
        const QString web = story.github.deploys(u"octo/web"_s);
        story.github.deploys(u"mira/shop"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows().size(), 2);
        story.github.failsFor(u"mira"_s);
        story.github.fails(web);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), State::Stale);
        QVERIFY(story.program.message().startsWith(u"mira: "_s));
        const QStringList rows{u"mira/shop production inProgress"_s, u"octo/web production failure"_s};
        QCOMPARE(story.program.shows(), rows);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
        story.github.recovers();
        story.time.passes(5min);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.shows(), rows);
    }
};

VELMORA_TEST(NetworkStories)
#include "network_test.moc"
