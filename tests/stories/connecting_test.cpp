// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// Connecting, removing and reconnecting accounts.
class ConnectingStories final : public QObject
{
    Q_OBJECT

    using State = DeploymentMonitorState::Case;

private Q_SLOTS:
    void fromTheFirstConnectionToTheFirstNotification()
    {
        Story story;
        QCOMPARE(story.program.state(), State::Disconnected);
        story.github.installs(u"octo"_s, {u"web"_s, u"api"_s});
        story.user.connects(u"octo"_s);
        QCOMPARE(story.program.repositories(), QStringList({u"octo/api"_s, u"octo/web"_s}));
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        story.github.fails(deployment);
        story.time.passes(5s);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production failure"_s));
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }

    void theNetworkGoesWhileTheCodeIsTyped()
    {
        Story story;
        story.github.joins(u"octo"_s);
        // From here on the tick sleeps whenever the program is at rest.
        story.program.comesToRest();
        const auto sleepersBefore = story.clock.sleeperCount();
        AuthenticationStore &authentication = story.program.app().authentication();
        authentication.startConnecting();
        // Between two polls the connection sleeps.
        const auto pollIsOver = [&] {
            return story.clock.sleeperCount() > sleepersBefore;
        };
        QVERIFY(waitUntil([&] { return authentication.pendingAuthorization().has_value() && pollIsOver(); }));
        const QString code = authentication.pendingAuthorization()->userCode;
        story.github.isUnreachable();
        for (int poll = 1; poll <= 3; ++poll) {
            story.time.passes(5s);
            QVERIFY(waitUntil(
                [&] { return story.github.requestCount("/login/oauth/access_token") >= poll && pollIsOver(); }));
        }
        QCOMPARE(authentication.connectionState(), GitHubSessionStatus::AwaitingAuthorization);
        story.github.recovers();
        QVERIFY(story.github.simulator.oauth().approve(code, u"octo"_s));
        story.time.passes(5s);
        QVERIFY(waitUntil([&] { return authentication.connectionState() == GitHubSessionStatus::Connected; }));
        QCOMPARE(authentication.errorMessage().value_or(QString()), QString());
        QCOMPARE(story.user.session(u"octo"_s), std::optional(GitHubSessionStatus::Connected));
    }

    void theAppIsInstalledAfterTheAccountWasConnected()
    {
        Story story;
        story.user.connects(u"octo"_s);
        QCOMPARE(story.desktop.browser.opened.last(),
            story.program.app().environment().configuration.installationURL().text());
        QCOMPARE(story.program.state(), State::Disconnected);
        story.github.installs(u"octo"_s, {u"web"_s});
        story.github.deploys(u"octo/web"_s);
        story.user.refreshes();
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
    }

    void anAccountIsRemovedInTheMiddleOfARefresh()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        story.github.fails(deployment);
        story.github.holdsBack("/graphql");
        story.time.passes(5s);
        story.user.removes(u"octo"_s);
        story.github.answers();
        story.program.comesToRest();
        QCOMPARE(story.program.shows(), QStringList());
        QCOMPARE(story.program.state(), State::Disconnected);
        story.program.restarts();
        QCOMPARE(story.program.shows(), QStringList());
    }

    void aTokenIsRevokedAndTheAccountConnectedAgain()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        story.github.revokes(u"octo"_s);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), State::Stale);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        QVERIFY(story.program.message().startsWith(u"octo: "_s));
        story.user.connects(u"octo"_s);
        story.time.passes(5s);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.message(), QString());
        story.github.fails(deployment);
        story.time.passes(5s);
        QCOMPARE(story.desktop.notifications(), QStringList(u"octo/web failed"_s));
    }
};

VELMORA_TEST(ConnectingStories)
#include "connecting_test.moc"
