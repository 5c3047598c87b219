// SPDX-License-Identifier: MIT
#include "story.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

/// A connected session survives what may happen to a machine.
class SessionStories final : public QObject
{
    Q_OBJECT

    using State = DeploymentMonitorState::Case;
    static inline const QByteArray kTokens = "/login/oauth/access_token";

private Q_SLOTS:
    void theMachineIsSuspendedWhileATokenIsRenewed()
    {
        Story story;
        story.github.simulator.oauth().settings().accessTokenSeconds = 900;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const qsizetype before = story.github.requestCount(kTokens);
        story.github.holdsBack(kTokens);
        story.time.passes(11min);
        QCOMPARE(story.user.session(u"octo"_s), std::optional(GitHubSessionStatus::Refreshing));
        // The wake-up drops all connections except the one of the renewal.
        story.time.passesAsleep(1min);
        story.time.passes(30s);
        story.github.answers();
        story.program.comesToRest();
        QCOMPARE(story.user.session(u"octo"_s), std::optional(GitHubSessionStatus::Connected));
        QCOMPARE(story.github.requestCount(kTokens), before + 1);
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.message(), QString());
    }

    void aKeyringThatIsStillLockedAfterTheLoginLosesNothing()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        const QString deployment = story.github.deploys(u"octo/web"_s);
        story.time.passes(kFullPoll);
        story.desktop.keyring->isLocked = true;
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production inProgress"_s));
        QCOMPARE(story.program.state(), State::Stale);
        QVERIFY(story.program.message().contains(u"locked"_s));
        // The program waits for the keyring and does not ask for a new connection.
        QVERIFY(!story.program.message().contains(u"Connect octo again"_s));
        story.desktop.keyring->isLocked = false;
        story.github.succeeds(deployment);
        story.user.refreshes();
        QCOMPARE(story.user.session(u"octo"_s), std::optional(GitHubSessionStatus::Connected));
        QCOMPARE(story.program.state(), State::Ready);
        QCOMPARE(story.program.shows(), QStringList(u"octo/web production success"_s));
    }

    void anotherGitHubGetsNothingOfAnAccount()
    {
        Story story;
        story.github.installs(u"octo"_s, {u"web"_s});
        story.user.connects(u"octo"_s);
        story.program.host = u"localhost"_s;
        story.program.restarts();
        const qsizetype before = story.github.simulator.log().entries().size();
        story.time.passes(kFullPoll);
        QCOMPARE(story.program.state(), State::Disconnected);
        QCOMPARE(story.user.session(u"octo"_s), std::nullopt);
        QCOMPARE(story.github.simulator.log().entries().size(), before);
        story.program.host.clear();
        story.program.restarts();
        story.time.passes(kFullPoll);
        QCOMPARE(story.user.session(u"octo"_s), std::optional(GitHubSessionStatus::Connected));
        QCOMPARE(story.program.repositories(), QStringList(u"octo/web"_s));
    }
};

VELMORA_TEST(SessionStories)
#include "session_test.moc"
