// SPDX-License-Identifier: MIT
#include "ui/window/menu_bar_view.h"

#include "support/lockable_credential_store.h"
#include "support/monitor_fixture.h"
#include "support/palettes.h"
#include "support/test_main.h"
#include "ui/controls/empty_state_view.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/text_label.h"
#include "ui/deployments/deployment_list_view.h"
#include "ui/window/device_code_panel.h"
#include "ui/window/menu_bar_header.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QLayout>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>
#include <QToolButton>
#include <QToolTip>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

class MenuBarViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_fixture = std::make_unique<MonitorFixture>(); }

    void cleanup()
    {
        m_view.reset();
        m_fixture->authentication->cancelConnection();
        drainEvents();
        QCOMPARE(m_fixture->clock.sleeperCount(), 0);
        m_fixture.reset();
    }

    // Contents

    void withoutAnAccountThereIsAnInvitation()
    {
        show();
        QVERIFY(m_view->content() == MenuBarContent::ConnectionPrompt);
        QCOMPARE(shownTexts().mid(2),
            (QStringList{text("Connect GitHub"),
                text("Connect a GitHub account, then choose the personal account or organisation where Velmora should "
                     "be installed."),
                text("Add GitHub account"), text("Quit")}));
    }

    void theTitleIsLeftToTheFrameOfTheWindow()
    {
        using Frame = FramedWindow::Frame;
        show();
        auto *const close = m_view->findChild<MenuBarHeader *>()->findChildren<QToolButton *>().last();
        QCOMPARE(shownTexts().constFirst(), text("Velmora"));
        QVERIFY(!close->isVisible());
        m_view->setFrame(Frame::Desktop);
        QVERIFY(!shownTexts().contains(text("Velmora")));
        QVERIFY(!close->isVisible());
        m_view->setFrame(Frame::Window);
        QCOMPARE(shownTexts().constFirst(), text("Velmora"));
        const QSignalSpy closed(m_view.get(), &MenuBarView::closeRequested);
        QCOMPARE(close->accessibleName(), text("Close"));
        close->click();
        QCOMPARE(closed.size(), 1);
        m_view->setFrame(Frame::None);
        QCOMPARE(shownTexts().constFirst(), text("Velmora"));
        QVERIFY(!close->isVisible());
    }

    void theCodeIsShownRatherThanTheInvitation()
    {
        show();
        startConnecting();
        QVERIFY(m_view->content() == MenuBarContent::CodePanel);
        QCOMPARE(shownTexts().mid(2),
            (QStringList{text("Enter this code on GitHub"), text("WDJB-MJHT"),
                text("The code has been copied. After authorization, GitHub will ask which account or organisation "
                     "Velmora can access."),
                text("Copy code"), text("Open GitHub"), text("Cancel"), text("Quit")}));
        button(text("Cancel"))->click();
        QVERIFY(m_view->content() == MenuBarContent::ConnectionPrompt);
    }

    void whileConnectingNoOtherConnectionCanBeStarted()
    {
        show();
        auto *add = button(text("Add GitHub account"));
        QVERIFY(add->isEnabled());
        add->click();
        QVERIFY(!add->isEnabled());
        waitForCode();
        m_fixture->authentication->cancelConnection();
        QVERIFY(add->isEnabled());
    }

    void aBrowserThatCannotBeStartedIsSaidUntilTheWindowIsClosed()
    {
        m_fixture->urlOpener.works = false;
        show();
        startConnecting();
        button(text("Open GitHub"))->click();
        QVERIFY(shownTexts().contains(text("The browser could not be started.")));
        QVERIFY(shownTexts().contains(text("https://github.com/login/device")));
        button(text("Copy address"))->click();
        QCOMPARE(m_fixture->pasteboard.copied.last(), text("https://github.com/login/device"));
        m_view->hide();
        m_view->show();
        QVERIFY(!shownTexts().contains(text("The browser could not be started.")));
    }

    void aConnectionThatFailedSaysWhy()
    {
        m_fixture->github.session->handler = [](const HTTPRequest &) -> HTTPResponse {
            return FakeHTTPSession::response(500, "{}");
        };
        show();
        button(text("Add GitHub account"))->click();
        QVERIFY(waitUntil([&] { return m_fixture->authentication->errorMessage().has_value(); }));
        QVERIFY(shownTexts().contains(*m_fixture->authentication->errorMessage()));
        button(text("Add GitHub account"))->click();
        QVERIFY(waitUntil([&] { return m_fixture->authentication->errorMessage().has_value(); }));
        m_fixture->authentication->cancelConnection();
        QCOMPARE(shownTexts().size(), 6);
    }

    void whatIsNotSavedIsSaidUntilItIsSaved()
    {
        m_fixture->cache.fails = true;
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        QVERIFY(shownTexts().contains(text("the disk is full")));
        m_fixture->defaults.setFailure(text("the settings cannot be written"));
        QVERIFY(shownTexts().contains(text("the settings cannot be written\nthe disk is full")));
        m_fixture->defaults.setFailure(QString());
        m_fixture->cache.fails = false;
        m_fixture->tickAfter(std::chrono::seconds(30));
        QCOMPARE(shownTexts(),
            (QStringList{text("Velmora"), text("GitHub deployments"), text("Updated now"), text("Quit")}));
    }

    void aPauseIsToldAndResumedInTheFooter()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        NotificationPause &pause = m_fixture->monitor->announcements().pause();
        const auto resume = [this]() -> QToolButton * {
            for (auto *button : m_view->findChildren<QToolButton *>()) {
                if (button->isVisible() && button->text() == text("Resume"))
                    return button;
            }
            return nullptr;
        };
        QVERIFY(!resume());
        const int height = m_view->height();
        pause.begin(noon() + 1h);
        drainEvents();
        QVERIFY(shownTexts().contains(text("Notifications are paused until 13:00")));
        QVERIFY(m_view->height() > height);
        QVERIFY(resume());
        resume()->setFocus();
        QTest::keyClick(resume(), Qt::Key_Space);
        QVERIFY(!pause.term());
        drainEvents();
        QVERIFY(!resume());
        QCOMPARE(m_view->height(), height);
        QVERIFY(m_view->findChild<DeploymentListView *>()->hasFocus());
        // The end of a pause is noticed by a tick.
        pause.begin(noon() + 1h);
        m_fixture->clock.advance(1h);
        m_fixture->tick();
        QVERIFY(!resume());
        QLocale::setDefault(QLocale::c());
    }

    void aLockedKeyringCanBeUnlockedFromTheWindow()
    {
        const auto keyring = lockKeyring();
        QVERIFY(
            shownTexts().contains(text("octocat: The keyring is locked. Unlock it, or connect the account again.")));
        QVERIFY(shownTexts().contains(text("Unlock")));
        // The user declines.
        button(text("Unlock"))->click();
        QVERIFY(waitUntil([&] { return button(text("Refresh"))->isEnabled(); }));
        QVERIFY(shownTexts().contains(text("Unlock")));
        keyring->unlocksWhenAsked = true;
        button(text("Unlock"))->click();
        QVERIFY(waitUntil([&] { return button(text("Refresh"))->isEnabled(); }));
        QVERIFY(!shownTexts().contains(text("Unlock")));
        QCOMPARE(m_fixture->shownIDs(), QStringList(text("a")));
    }

    void anAccountThatIsRemovedLeavesNothingToUnlock()
    {
        std::ignore = lockKeyring();
        QVERIFY(shownTexts().contains(text("Unlock")));
        // By another process.
        m_fixture->defaults.setValue(QStringLiteral("github.accounts"), encodeJSON(QList<GitHubAccount>()));
        QVERIFY(!shownTexts().contains(text("Unlock")));
    }

    void beforeTheFirstAnswerItIsLoading()
    {
        m_fixture->connect(1, text("octocat"));
        show();
        QVERIFY(m_view->content() == MenuBarContent::Loading);
        QCOMPARE(shownTexts(),
            (QStringList{text("Velmora"), text("Refreshing deployments"), text("Loading deployments…"), text("Quit")}));
        auto *spinner = m_view->findChild<ProgressSpinner *>(QString(), Qt::FindChildrenRecursively);
        QVERIFY(spinner);
    }

    void deploymentsAreListed()
    {
        connectWithDeployments({{text("a"), text("IN_PROGRESS")}, {text("b"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        QVERIFY(m_view->content() == MenuBarContent::List);
        QCOMPARE(shownTexts(),
            (QStringList{text("Velmora"), text("Deployment in progress"), text("Updated now"), text("Quit")}));
        QCOMPARE(list()->model()->rowCount(), 4);
        QCOMPARE(list()->height(), 360);
        m_fixture->github.identities[text("octocat")].repositories[0].deployments[0].state = text("SUCCESS");
        m_fixture->tickAfter(5s);
        QCOMPARE(status(), text("GitHub deployments"));
        QCOMPARE(list()->model()->rowCount(), 3);
    }

    void aFailureThatIsDismissedIsCountedNoLonger()
    {
        connectWithDeployments({{text("a"), text("FAILURE")}, {text("b"), text("FAILURE")}});
        m_fixture->refreshAll();
        show();
        QCOMPARE(m_fixture->monitor->presentation().failedCount, 2);
        auto *list = m_view->findChild<DeploymentListView *>();
        QVERIFY(list);
        QTest::keyClick(list, Qt::Key_Down);
        QTest::keyClick(list, Qt::Key_Delete);
        QCOMPARE(m_fixture->monitor->presentation().failedCount, 1);
        QCOMPARE(list->model()->index(0, 0).data(Qt::AccessibleTextRole).toString(), text("Failed, 1"));
        QTest::keyClick(list, Qt::Key_Delete, Qt::ShiftModifier);
        QCOMPARE(m_fixture->monitor->presentation().failedCount, 0);
        QCOMPARE(list->model()->index(0, 0).data(Qt::AccessibleTextRole).toString(), text("Failed, 0"));
        QCOMPARE(list->model()->rowCount(), 3);
    }

    void whatIsTypedAnywhereLooksForDeployments()
    {
        connectWithDeployments({{text("a"), text("IN_PROGRESS")}, {text("b"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        button(text("Refresh"))->setFocus();
        QTest::keyClick(QApplication::focusWidget(), 'n');
        QTest::keyClick(QApplication::focusWidget(), 'o');
        QVERIFY(shownTexts().contains(text("0 of 2")));
        QVERIFY(shownTexts().contains(text("No results for “no”")));
        const int height = m_view->height();
        button(text("Show all"))->click();
        QVERIFY(list()->hasFocus());
        QCOMPARE(list()->model()->rowCount(), 4);
        QCOMPARE(m_view->height(), height);
        QTest::keyClick(m_view.get(), Qt::Key_F, Qt::ControlModifier);
        QTest::keyClick(QApplication::focusWidget(), 'w');
        QVERIFY(shownTexts().contains(text("2 of 2")));
        // The search goes with what it was about.
        m_fixture->github.identities[text("octocat")].repositories[0].deployments.clear();
        m_fixture->tickAfter(30s);
        QVERIFY(m_view->content() == MenuBarContent::NoDeployments);
        QTest::keyClick(m_view.get(), 'w');
        QTest::keyClick(m_view.get(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(!shownTexts().contains(text("2 of 2")));
    }

    void anEmptyListSaysSo()
    {
        connectWithDeployments({});
        m_fixture->tick();
        show();
        QVERIFY(m_view->content() == MenuBarContent::NoDeployments);
        QCOMPARE(shownTexts().mid(1),
            (QStringList{text("GitHub deployments"), text("No recent deployments"),
                text("Active deployments and results from the last 24 hours appear here."), text("Updated now"),
                text("Quit")}));
    }

    void anAccountWithoutAnInstallationIsLedToThePage()
    {
        m_fixture->connect(1, text("octocat"));
        m_fixture->build();
        m_fixture->tick();
        show();
        QVERIFY(m_view->content() == MenuBarContent::NotInstalled);
        QCOMPARE(shownTexts().mid(1),
            (QStringList{text("Install Velmora on GitHub"), text("Install Velmora"),
                text("Your account is connected. Choose the personal account or organisation where Velmora should be "
                     "installed; its deployments then appear here."),
                text("Install on GitHub"), text("Quit")}));
        button(text("Install on GitHub"))->click();
        QCOMPARE(m_fixture->urlOpener.opened, QStringList{m_fixture->installationPage.address().text()});
        QVERIFY(m_fixture->installationPage.wasOpenedLately());
    }

    void anInstallationWithoutRepositoriesSaysWhatItLacks()
    {
        m_fixture->connect(1, text("octocat")).isInstalled = true;
        m_fixture->build();
        m_fixture->tick();
        show();
        QVERIFY(m_view->content() == MenuBarContent::NoAccess);
        QCOMPARE(shownTexts().mid(1),
            (QStringList{text("No repositories granted"), text("No repositories granted"),
                text("Velmora is installed, but no repository has been granted to it."), text("Manage on GitHub"),
                text("Quit")}));
        button(text("Manage on GitHub"))->click();
        QCOMPARE(m_fixture->urlOpener.opened, QStringList{m_fixture->installationPage.address().text()});
    }

    void whereEverythingIsSwitchedOffTheWayLeadsToTheRepositories()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        m_fixture->installations->setAllRepositories(false);
        m_fixture->tickAfter(30s);
        show();
        QVERIFY(m_view->content() == MenuBarContent::NothingSelected);
        QCOMPARE(shownTexts().mid(1),
            (QStringList{text("No repositories selected"), text("No repositories selected"),
                text("Velmora is installed, but every repository is switched off."), text("Choose repositories"),
                text("Quit")}));
        QSignalSpy requests(m_view.get(), &MenuBarView::repositoriesRequested);
        button(text("Choose repositories"))->click();
        QCOMPARE(requests.count(), 1);
    }

    void whoOpensTheWindowAfterInstallingSeesItAtOnce()
    {
        connectWithDeployments({});
        auto repositories = std::exchange(m_fixture->github.identities[text("octocat")].repositories, {});
        m_fixture->tick();
        m_fixture->github.identities[text("octocat")].repositories = repositories;
        show();
        QVERIFY(waitUntil([&] { return m_view->content() == MenuBarContent::NoDeployments; }));
        QCOMPARE(status(), text("GitHub deployments"));
    }

    void savedDeploymentsAreShownAsSuch()
    {
        connectWithDeployments({});
        m_fixture->tick();
        m_fixture->github.identities[text("octocat")].graphqlFailure = FakeHTTPSession::response(500, "{}");
        m_fixture->tickAfter(30s);
        show();
        QVERIFY(m_view->content() == MenuBarContent::NoDeployments);
        QCOMPARE(shownTexts().mid(1, 3),
            (QStringList{
                text("Showing saved data"), text("Showing saved deployment data."), m_fixture->monitor->message()}));
        QCOMPARE(shownTexts().at(6), text("Updated 30 seconds ago"));
    }

    void theExplanationIsWholeInTheToolTipAndForAssistiveTechnology()
    {
        connectWithDeployments({});
        m_fixture->tick();
        m_fixture->github.identities[text("octocat")].graphqlFailure = FakeHTTPSession::response(500, "{}");
        m_fixture->tickAfter(30s);
        show();
        const QString whole = text("Showing saved deployment data.\n") + m_fixture->monitor->message();
        for (auto *label : visible<TextLabel>()) {
            if (!label->text().startsWith(text("Showing saved")))
                continue;
            QCOMPARE(QAccessible::queryAccessibleInterface(label)->text(QAccessible::Description), whole);
            QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), label->mapToGlobal(QPoint(1, 1)));
            QCoreApplication::sendEvent(label, &event);
            QTextDocument document;
            document.setHtml(QToolTip::text());
            QCOMPARE(document.toPlainText(), whole);
            QToolTip::hideText();
        }
    }

    void aPauseKeepsTheListAndSaysUntilWhen()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        auto &identity = m_fixture->github.identities[text("octocat")];
        identity.remaining = 0;
        identity.resetAt = noon() + 35min;
        m_fixture->tick();
        show();
        QVERIFY(m_view->content() == MenuBarContent::List);
        QCOMPARE(status(), text("Paused until ") + QLocale().toString(QTime(12, 35), QLocale::ShortFormat));
        QCOMPARE(shownTexts().at(2), text("Updated now"));
    }

    void savedDeploymentsStayVisibleWhileTheyAreRefreshed()
    {
        m_fixture->connect(1, text("octocat"));
        const auto saved = makeSnapshot(text("a"), DeploymentState::Success, noon());
        m_fixture->cache.payload = DeploymentCachePayload{{saved}, noon()};
        m_fixture->build();
        awaitValue(m_fixture->monitor->loadCache());
        show();
        QVERIFY(m_view->content() == MenuBarContent::List);
        QCOMPARE(status(), text("Refreshing deployments"));
    }

    // Refreshing

    void refreshAsksForInstallationsAndThenForDeployments()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        m_fixture->github.clearLog();
        holdAnswers();
        auto *refresh = button(text("Refresh"));
        QCOMPARE(refresh->toolTip(), text("Refresh deployments"));
        refresh->click();
        QVERIFY(m_view->isRefreshing());
        QVERIFY(!refresh->isEnabled());
        QCOMPARE(refresh->toolTip(), text("Refreshing deployments"));
        giveAnswers();
        QVERIFY(waitUntil([&] { return !m_view->isRefreshing(); }));
        QVERIFY(refresh->isEnabled());
        QCOMPARE(refresh->toolTip(), text("Refresh deployments"));
        QCOMPARE(m_fixture->github.restRequests.size(), 2);
        QCOMPARE(m_fixture->github.queries.size(), 1);
    }

    void pressingRefreshTwiceRefreshesOnce()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        m_fixture->github.clearLog();
        holdAnswers();
        button(text("Refresh"))->click();
        button(text("Refresh"))->click();
        QTest::keyClick(m_view.get(), Qt::Key_R, Qt::ControlModifier);
        m_view->refresh();
        giveAnswers();
        QVERIFY(waitUntil([&] { return !m_view->isRefreshing(); }));
        QCOMPARE(m_fixture->github.queries.size(), 1);
    }

    void refreshesOfTheMonitorLeaveTheButtonAlone()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        show();
        QVERIFY(waitUntil([&] { return m_fixture->installations->lastRefreshedAt().has_value(); }));
        holdAnswers();
        const auto tick
            = start(m_fixture->monitor->tick(m_fixture->authentication.get(), m_fixture->installations.get(), noon()));
        QVERIFY(m_fixture->monitor->isRefreshing());
        QVERIFY(!m_view->isRefreshing());
        QVERIFY(button(text("Refresh"))->isEnabled());
        giveAnswers();
        QVERIFY(waitUntil([&] { return tick->isDone; }));
    }

    void aRefreshThatFailsEndsAsWell()
    {
        connectWithDeployments({});
        m_fixture->tick();
        m_fixture->github.identities[text("octocat")].restFailure = FakeHTTPSession::response(500, "{}");
        m_fixture->github.identities[text("octocat")].graphqlFailure = FakeHTTPSession::response(500, "{}");
        show();
        m_view->refresh();
        QVERIFY(waitUntil([&] { return !m_view->isRefreshing(); }));
        QCOMPARE(status(), text("Showing saved data"));
    }

    void aViewThatEndsWhileItRefreshesTakesNothingAlong()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        holdAnswers();
        m_view->refresh();
        m_view.reset();
        giveAnswers();
        drainEvents();
    }

    void whoeverOpensTheWindowFirstHasTheInstallationsLoaded()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        show();
        QVERIFY(waitUntil([&] { return m_fixture->installations->lastRefreshedAt().has_value(); }));
        drainEvents();
        m_fixture->github.clearLog();
        m_view->hide();
        m_view->show();
        drainEvents();
        QVERIFY(m_fixture->github.restRequests.isEmpty());
    }

    // Controls

    void settingsAndQuitAreAskedFor()
    {
        show();
        QSignalSpy settings(m_view.get(), &MenuBarView::settingsRequested);
        QSignalSpy quit(m_view.get(), &MenuBarView::quitRequested);
        QCOMPARE(button(text("Settings"))->toolTip(), text("Open Settings"));
        button(text("Settings"))->click();
        QCOMPARE(settings.count(), 1);
        button(text("Quit"))->click();
        QCOMPARE(quit.count(), 1);
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
        QTest::keyClick(m_view.get(), Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(settings.count(), 2);
        QTest::keyClick(m_view.get(), Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(quit.count(), 2);
    }

    void theKeyForRefreshRefreshes()
    {
        connectWithDeployments({});
        m_fixture->tick();
        show();
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
        holdAnswers();
        QTest::keyClick(m_view.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(m_view->isRefreshing());
        giveAnswers();
        QVERIFY(waitUntil([&] { return !m_view->isRefreshing(); }));
    }

    void everyControlIsCalledWhatItSays()
    {
        show();
        startConnecting();
        auto buttons = m_view->findChildren<QAbstractButton *>();
        // The icons in a field are a part of it.
        buttons.removeIf(
            [](const QAbstractButton *button) { return qobject_cast<QLineEdit *>(button->parentWidget()); });
        QVERIFY(buttons.size() >= 6);
        for (auto *control : buttons) {
            QCOMPARE(QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name), control->text());
            QVERIFY(control->focusPolicy() & Qt::TabFocus);
        }
    }

    // Time and motion

    void theAgeOfTheUpdateStaysTrue()
    {
        connectWithDeployments({});
        m_fixture->tick();
        show();
        QCOMPARE(shownTexts().at(4), text("Updated now"));
        m_fixture->clock.advance(1s);
        QCOMPARE(shownTexts().at(4), text("Updated 1 second ago"));
        m_fixture->clock.advance(3min);
        QCOMPARE(shownTexts().at(4), text("Updated 3 minutes ago"));
        QCOMPARE(m_fixture->clock.sleeperCount(), 1);
    }

    void nothingHappensWhileItIsHidden()
    {
        connectWithDeployments({{text("a"), text("IN_PROGRESS")}});
        m_fixture->tick();
        show();
        QVERIFY(list()->isTurning());
        m_view->hide();
        drainEvents();
        QCOMPARE(m_fixture->clock.sleeperCount(), 0);
        QVERIFY(!list()->isTurning());
        m_fixture->github.identities[text("octocat")].repositories[0].deployments.clear();
        m_fixture->tickAfter(5s);
        QCOMPARE(list()->model()->rowCount(), 0);
        m_view->show();
        QVERIFY(m_view->content() == MenuBarContent::NoDeployments);
        QCOMPARE(list()->model()->rowCount(), 0);
    }

    void whoeverOpensItAgainBeginsAtTheTop()
    {
        QList<FakeGitHub::Deployment> many;
        for (int i = 0; i < 50; ++i)
            many.append({QString::number(i), text("SUCCESS")});
        connectWithDeployments(many);
        m_fixture->tick();
        show();
        QVERIFY(list()->hasFocus());
        QTest::keyClick(list(), Qt::Key_End);
        QVERIFY(list()->verticalScrollBar()->value() > 0);
        m_view->hide();
        m_view->show();
        QCOMPARE(list()->verticalScrollBar()->value(), 0);
        QTest::keyClick(list(), Qt::Key_Down);
        QCOMPARE(list()->currentIndex().row(), 1);
    }

    void keysNeverEndUpAtTheButtonThatQuits()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        QVERIFY(list()->hasFocus());
        startConnecting();
        QVERIFY(m_view->content() == MenuBarContent::CodePanel);
        QVERIFY(m_view->hasFocus());
        button(text("Cancel"))->setFocus();
        QTest::keyClick(button(text("Cancel")), Qt::Key_Space);
        QVERIFY(m_view->content() == MenuBarContent::List);
        QVERIFY(list()->hasFocus());
    }

    void spinnersTurnOnlyWhileTheyAreSeen()
    {
        m_fixture->connect(1, text("octocat"));
        show();
        int turning = 0;
        for (auto *spinner : m_view->findChildren<ProgressSpinner *>()) {
            QCOMPARE(spinner->isTurning(), spinner->isVisible());
            turning += spinner->isTurning() ? 1 : 0;
        }
        QCOMPARE(turning, 1);
        m_view->hide();
        for (auto *spinner : m_view->findChildren<ProgressSpinner *>())
            QVERIFY(!spinner->isTurning());
    }

    // Size and appearance

    void theWindowIsAsHighAsWhatItHolds()
    {
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        QCOMPARE(m_view->width(), std::max(360, QFontMetrics(m_view->font()).height() * 20));
        const int listed = m_view->height();
        m_fixture->github.identities[text("octocat")].repositories[0].deployments.clear();
        m_fixture->tickAfter(30s);
        drainEvents();
        QCOMPARE(m_view->height(), listed - 120);
        QCOMPARE(m_view->size(), m_view->sizeHint());
    }

    void itFollowsPaletteAndFont()
    {
        show();
        const QImage light = m_view->grab().toImage();
        m_view->setPalette(darkPalette());
        const QImage dark = m_view->grab().toImage();
        QVERIFY(qGray(dark.pixel(2, 2)) < qGray(light.pixel(2, 2)));
        m_view->setPalette(QPalette());
        QCOMPARE(m_view->grab().toImage(), light);
        const int width = m_view->width();
        QFont font = m_view->font();
        font.setPointSizeF(font.pointSizeF() * 2);
        m_view->setFont(font);
        drainEvents();
        QVERIFY(m_view->width() > width);
        QCOMPARE(m_view->size(), m_view->sizeHint());
        for (auto *label : visible<TextLabel>())
            QVERIFY(label->height() >= label->minimumSizeHint().height());
    }

private:
    void connectWithDeployments(const QList<FakeGitHub::Deployment> &deployments)
    {
        m_fixture->connect(1, text("octocat")).repositories = {{text("R_web"), text("acme/web"), deployments, {}}};
        m_fixture->build();
    }

    /// The keyring of the account on show is locked while the program runs.
    std::shared_ptr<LockableCredentialStore> lockKeyring()
    {
        auto keyring = std::make_shared<LockableCredentialStore>(m_fixture->credentials);
        keyring->isLocked = false;
        m_fixture->credentialStore = keyring;
        connectWithDeployments({{text("a"), text("SUCCESS")}});
        m_fixture->tick();
        show();
        keyring->isLocked = true;
        m_fixture->tickAfter(30s);
        return keyring;
    }

    void show()
    {
        if (!m_fixture->monitor)
            m_fixture->build();
        drainEvents();
        m_view = std::make_unique<MenuBarView>(m_fixture->stores(), m_fixture->ports());
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    }

    /// Makes requests wait until giveAnswers().
    void holdAnswers() { m_answers = std::exchange(m_fixture->github.session->handler, nullptr); }
    void giveAnswers() { m_fixture->github.session->resume(m_answers); }

    void startConnecting()
    {
        m_fixture->authentication->startConnecting();
        waitForCode();
    }
    void waitForCode()
    {
        QVERIFY(waitUntil([&] { return m_fixture->authentication->pendingAuthorization().has_value(); }));
    }

    [[nodiscard]] DeploymentListView *list() const { return m_view->findChild<DeploymentListView *>(); }
    [[nodiscard]] QString status() const { return shownTexts().at(1); }

    template <typename Widget>
    [[nodiscard]] QList<Widget *> visible() const
    {
        QList<Widget *> found = m_view->findChildren<Widget *>();
        found.removeIf([](const Widget *widget) { return !widget->isVisible(); });
        return found;
    }

    [[nodiscard]] QAbstractButton *button(const QString &label) const
    {
        for (auto *found : visible<QAbstractButton>()) {
            if (found->text() == label)
                return found;
        }
        return nullptr;
    }

    /// All visible texts, from top to bottom and left to right, without those of the list and of icons.
    [[nodiscard]] QStringList shownTexts() const
    {
        QList<std::pair<QPoint, QString>> found;
        const auto add = [&](const QWidget *widget, const QString &shown) {
            const QPoint place = widget->mapTo(m_view.get(), QPoint());
            if (!shown.isEmpty())
                found.append({QPoint(place.y(), place.x()), shown});
        };
        m_view->layout()->activate();
        for (const auto *label : visible<QLabel>())
            add(label, label->text());
        for (const auto *control : visible<QPushButton>())
            add(control, control->text());
        for (const auto *control : visible<QToolButton>()) {
            if (control->toolButtonStyle() != Qt::ToolButtonIconOnly || control->icon().isNull())
                add(control, control->text());
        }
        std::ranges::stable_sort(found, [](const auto &left, const auto &right) {
            return std::pair(left.first.x(), left.first.y()) < std::pair(right.first.x(), right.first.y());
        });
        QStringList texts;
        for (const auto &entry : found)
            texts.append(entry.second);
        return texts;
    }

    std::unique_ptr<MonitorFixture> m_fixture;
    std::unique_ptr<MenuBarView> m_view;
    FakeHTTPSession::Handler m_answers;
};

VELMORA_WIDGET_TEST(MenuBarViewTest)
#include "menu_bar_view_test.moc"
