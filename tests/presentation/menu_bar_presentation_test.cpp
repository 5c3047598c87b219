// SPDX-License-Identifier: MIT
#include "presentation/menu_bar_presentation.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using State = DeploymentMonitorState;

class MenuBarPresentationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theContentFollowsAnOrderOfPrecedence_data()
    {
        QTest::addColumn<MenuBarSituation>("situation");
        QTest::addColumn<int>("content");
        const auto row = [](const char *name, const MenuBarSituation &situation, MenuBarContent content) {
            QTest::newRow(name) << situation << static_cast<int>(content);
        };
        using enum MenuBarContent;
        row("a code and no account", {true, false, State::disconnected(MissingStep::Account), false}, CodePanel);
        row("a code and a full list", {true, true, State::ready(noon()), true}, CodePanel);
        row("a code while loading", {true, true, State::loading(false), false}, CodePanel);
        row("no account", {false, false, State::disconnected(MissingStep::Account), false}, ConnectionPrompt);
        row("no account, but saved deployments", {false, false, State::loading(true), true}, ConnectionPrompt);
        row("loading, nothing to show", {false, true, State::loading(false), false}, Loading);
        row("loading, though older ones are there", {false, true, State::loading(false), true}, Loading);
        row("loading over a list", {false, true, State::loading(true), true}, List);
        row("loading over an empty list", {false, true, State::loading(true), false}, NoDeployments);
        row("ready", {false, true, State::ready(noon()), true}, List);
        row("ready and empty", {false, true, State::ready(noon()), false}, NoDeployments);
        row("stale", {false, true, State::stale(noon()), true}, List);
        row("stale and empty", {false, true, State::stale({}), false}, NoDeployments);
        row("paused", {false, true, State::rateLimited(noon(), noon()), true}, List);
        row("paused and empty", {false, true, State::rateLimited({}, noon()), false}, NoDeployments);
        row("not installed", {false, true, State::disconnected(MissingStep::Installation), false}, NotInstalled);
        row("nothing granted", {false, true, State::disconnected(MissingStep::Access), false}, NoAccess);
        row("all switched off", {false, true, State::disconnected(MissingStep::Selection), false}, NothingSelected);
        row("an account since a moment", {false, true, State::disconnected(MissingStep::Account), false},
            NoDeployments);
        row("not installed, and a code", {true, true, State::disconnected(MissingStep::Installation), false},
            CodePanel);
    }

    void theContentFollowsAnOrderOfPrecedence()
    {
        QFETCH(MenuBarSituation, situation);
        QFETCH(int, content);
        QCOMPARE(static_cast<int>(menuBarContent(situation)), content);
    }

    void theTimeOfTheUpdateIsTheOneOfTheState()
    {
        const Instant later = noon() + 1h;
        QCOMPARE(shownUpdateTime(State::ready(noon())), std::optional(noon()));
        QCOMPARE(shownUpdateTime(State::stale(noon())), std::optional(noon()));
        QCOMPARE(shownUpdateTime(State::stale({})), std::nullopt);
        QCOMPARE(shownUpdateTime(State::rateLimited(noon(), later)), std::optional(noon()));
        QCOMPARE(shownUpdateTime(State::rateLimited({}, later)), std::nullopt);
        QCOMPARE(shownUpdateTime(State::loading(true)), std::nullopt);
        QCOMPARE(shownUpdateTime(State::disconnected(MissingStep::Account)), std::nullopt);
    }

    void theTimeOfTheUpdateIsRelative()
    {
        QCOMPARE(updatedText(noon(), noon() + 2min), QStringLiteral("Updated 2 minutes ago"));
        QCOMPARE(updatedText(noon(), noon()), QStringLiteral("Updated now"));
        QVERIFY(updatedText({}, noon()).isEmpty());
    }

    void onlySavedDataAndFailuresAreExplained()
    {
        const QString failure = QStringLiteral("octocat: GitHub returned HTTP 500.");
        const QString saved = QStringLiteral("Showing saved deployment data.");
        QCOMPARE(statusExplanation(State::stale(noon()), {}), saved);
        QCOMPARE(statusExplanation(State::stale(noon()), failure), saved + QLatin1Char('\n') + failure);
        QCOMPARE(statusExplanation(State::loading(true), failure), failure);
        QVERIFY(statusExplanation(State::ready(noon()), {}).isEmpty());
        QCOMPARE(statusExplanation(State::ready(noon(), 72), {}),
            QStringLiteral("Refreshing every 72 seconds, to stay within GitHub's limit"));
    }

    void oneConnectionIsMadeAtATime()
    {
        QVERIFY(canStartConnecting(GitHubSessionStatus::Disconnected));
        QVERIFY(!canStartConnecting(GitHubSessionStatus::RequestingCode));
        QVERIFY(!canStartConnecting(GitHubSessionStatus::AwaitingAuthorization));
        QVERIFY(canStartConnecting(GitHubSessionStatus::Connected));
        QVERIFY(canStartConnecting(GitHubSessionStatus::Refreshing));
        QVERIFY(canStartConnecting(GitHubSessionStatus::ReconnectRequired));
    }

    void installationsAreLoadedWhenNobodyHas()
    {
        using Case = InstallationLoadingState::Case;
        QVERIFY(needsInstallations({Case::Disconnected, {}}, {}));
        QVERIFY(!needsInstallations({Case::Loading, {}}, {}));
        QVERIFY(!needsInstallations({Case::Ready, {}}, noon()));
        QVERIFY(!needsInstallations({Case::Stale, {}}, noon()));
        QVERIFY(!needsInstallations({Case::Disconnected, {}}, noon()));
    }
};

VELMORA_TEST(MenuBarPresentationTest)
#include "menu_bar_presentation_test.moc"
