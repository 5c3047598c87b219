// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// From the first start to the first deployment: an account is connected, the App is installed, and the first
/// deployment appears.
class FirstHourStories final : public QObject
{
    Q_OBJECT

    using State = DeploymentMonitorState::Case;

private Q_SLOTS:
    void withTwoPagesOfTheBrowserFromNothingToTheFirstDeployment()
    {
        Story story;
        QCOMPARE(story.program.missing(), MissingStep::Account);
        QVERIFY(story.program.hint().contains(u"velmora connect"_s));
        story.user.connects(u"octo"_s);
        const QString page = story.program.app().installationPage().address().text();
        QCOMPARE(story.program.missing(), MissingStep::Installation);
        QCOMPARE(story.program.hint(), u"Velmora is not installed anywhere. Install it: "_s + page);
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.hint(), QString());
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        QCOMPARE(story.desktop.browser.opened.size(), 2);
        QCOMPARE(story.desktop.browser.opened.last(), page);
    }

    void whoComesBackFromTheBrowserDoesNotWait()
    {
        Story story;
        story.user.connects(u"octo"_s);
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.deploys(u"octo/web"_s);
        story.user.comesBack();
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
    }

    void anHourWithoutAnInstallationIsQuietAndNotForgotten()
    {
        Story story;
        story.user.connects(u"octo"_s);
        story.time.passes(1min);
        QStringList changes;
        QObject::connect(&story.program.app().monitor(), &DeploymentMonitor::changed, this,
            [&] { changes.append(rawValue(story.program.state())); });
        const auto before = story.github.requestCount("/user/installations");
        story.time.passes(1h);
        const auto polls = story.github.requestCount("/user/installations") - before;
        QVERIFY2(polls >= 115 && polls <= 121, qPrintable(QString::number(polls)));
        QCOMPARE(changes, QStringList());
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
    }

    void aSecondAccountIsInstalledLaterThanTheFirst()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        InstallationStore &installations = story.program.app().installations();
        int announcements = 0;
        QObject::connect(&installations, &InstallationStore::stateChanged, this, [&] { ++announcements; });
        story.user.connects(u"hubot"_s);
        const auto sessions = story.program.app().authentication().sessions();
        QVERIFY(std::ranges::all_of(
            sessions, [&](const GitHubAccountSession &session) { return installations.hasLoaded(session.id()); }));
        QVERIFY(announcements > 0);
        QCOMPARE(story.program.state(), State::Ready);
        story.github.installs(u"hubot"_s, {u"bot"_s});
        story.github.deploys(u"hubot/bot"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"hubot/bot production inProgress"_s));
    }

    void theAppIsInstalledOnOneMoreAccount()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        story.time.passes(16min);
        const auto before = story.github.requestCount("/user/installations");
        story.time.passes(5min);
        QCOMPARE(story.github.requestCount("/user/installations"), before);
        story.user.managesInstallations();
        story.github.installsFor(u"octo"_s, u"acme"_s, {u"shop"_s});
        story.github.deploys(u"acme/shop"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"acme/shop production inProgress"_s));
    }

    void eachStepThatIsMissingIsTold()
    {
        Story story;
        story.user.connects(u"octo"_s);
        QCOMPARE(story.program.missing(), MissingStep::Installation);
        story.github.installs(u"octo"_s, {});
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.missing(), MissingStep::Access);
        story.github.installsFor(u"octo"_s, u"acme"_s, {u"shop"_s});
        story.user.refreshes();
        QCOMPARE(story.program.state(), State::Ready);
        story.user.excludes(u"acme/shop"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.missing(), MissingStep::Selection);
        QVERIFY(story.program.hint().contains(u"velmora repositories --all"_s));
    }

    void aSuspendedInstallationIsNamedAndTakesNothingFromTheOthers()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.installsFor(u"octo"_s, u"acme"_s, {u"shop"_s});
        story.github.suspends(u"acme"_s);
        story.user.connects(u"octo"_s);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.repositories(), QStringList(u"octo/web"_s));
        const auto listed = awaitValue(story.program.control().installations({}, {})).listed;
        QCOMPARE(listed.size(), 2);
        QVERIFY(listed.first().account == u"acme"_s && listed.first().isSuspended);
        QVERIFY(!listed.last().isSuspended);
        story.github.suspends(u"octo"_s);
        story.user.refreshes();
        QCOMPARE(story.program.missing(), MissingStep::Access);
        QCOMPARE(story.program.hint(), u"Velmora is suspended on acme, octo. Its owner can unsuspend it on GitHub."_s);
        story.github.suspends(u"octo"_s, false);
        story.user.refreshes();
        QCOMPARE(story.program.repositories(), QStringList(u"octo/web"_s));
    }

    void choicesOfAnAccountThatCannotBeReachedAreKept()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.installs(u"hubot"_s, {u"bot"_s, u"secret"_s});
        story.user.connects(u"octo"_s);
        story.user.connects(u"hubot"_s);
        story.user.excludes(u"hubot/secret"_s);
        story.github.failsFor(u"hubot"_s);
        story.program.restarts();
        story.time.passes(kFullPoll);
        story.user.excludes(u"octo/web"_s);
        story.github.recovers();
        story.user.refreshes();
        QCOMPARE(story.program.repositories(), QStringList(u"hubot/bot"_s));
    }

    void aServerWithoutRateLimitsIsFollowedLikeAnyOther()
    {
        Story story;
        story.github.hasNoRateLimits();
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.message(), QString());
        story.github.fails(deployment);
        story.time.passes(2h);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void everyoneWhoAsksAtOnceIsServedByOneLoad()
    {
        Story story;
        story.user.connects(u"octo"_s);
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.deploys(u"octo/web"_s);
        const auto before = story.github.requestCount("/user/installations");
        story.github.holdsBack("/user/installations");
        story.user.comesBack();
        const auto window = start(story.program.app().installations().refresh(&story.program.app().authentication()));
        const auto terminal = start(story.program.control().installations({}, {}));
        story.user.comesBack();
        story.github.answers();
        QVERIFY(waitUntil([&] { return window->isDone && terminal->isDone; }));
        story.program.comesToRest();
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        // The second return to a window happens while the first is being served, at the same time of the story's clock.
        QVERIFY(story.github.requestCount("/user/installations") <= before + 2);
        for (const auto &entry : story.github.simulator.log().entries())
            QCOMPARE(entry.unanswered, 0);
    }
};

VELMORA_TEST(FirstHourStories)
#include "first_hour_test.moc"
