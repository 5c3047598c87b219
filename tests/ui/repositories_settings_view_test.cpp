// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repositories_settings_view.h"

#include "support/monitor_fixture.h"
#include "support/test_main.h"
#include "support/widget_probe.h"
#include "ui/controls/busy_button.h"
#include "ui/controls/progress_spinner.h"
#include "ui/controls/search_field.h"
#include "ui/settings/repositories/repository_list_view.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kRefresh = QStringLiteral("Refresh");
const QString kEnableAll = QStringLiteral("Enable all");
const QString kDisableAll = QStringLiteral("Disable all");
const QString kLoading = QStringLiteral("Loading repositories…");

FakeGitHub::Repository repository(const QString &name)
{
    FakeGitHub::Repository made;
    made.nodeID = QStringLiteral("R_") + name;
    made.name = name;
    return made;
}

} // namespace

class RepositoriesSettingsViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_view.reset();
        m_fixture = std::make_unique<MonitorFixture>();
        auto &alice = m_fixture->connect(1, QStringLiteral("alice"));
        for (const char *name : {"acme/api", "acme/web", "beta/site", "beta/tool"})
            alice.repositories.append(repository(QString::fromLatin1(name)));
        m_fixture->build();
    }
    void cleanup()
    {
        // A refresh whose answer was held back is still waiting.
        m_fixture->github.session->resume([](const HTTPRequest &) -> HTTPResponse { throw CancellationError(); });
        drainEvents();
    }

    void everyTextIsThere()
    {
        open();
        QCOMPARE(shownTexts(*m_view).first(), QStringLiteral("Repositories"));
        QCOMPARE(shownTexts(*m_view).at(1), QStringLiteral("Choose which repositories Velmora monitors."));
        QCOMPARE(field()->placeholderText(), QStringLiteral("Search repositories"));
        QCOMPARE(refreshButton()->toolTip(), QStringLiteral("Refresh repositories"));
        QVERIFY(shownButton(*m_view, kEnableAll));
        QVERIFY(shownButton(*m_view, kDisableAll));
    }

    void theTabDoesNotRefreshByItself()
    {
        open();
        drainEvents();
        QVERIFY(m_fixture->github.restRequests.isEmpty());
    }

    void theRefreshButtonRefreshesOnce()
    {
        open();
        m_fixture->github.session->handler = {};
        refreshButton()->click();
        QVERIFY(!refreshButton()->isEnabled());
        QVERIFY(refreshButton()->isBusy());
        QCOMPARE(refreshButton()->toolTip(), QStringLiteral("Refreshing repositories"));
        QVERIFY(refreshButton()->findChild<ProgressSpinner *>()->isVisible());
        refreshButton()->click();
        drainEvents();
        QCOMPARE(m_fixture->github.session->requests.size(), 1);
        QVERIFY(m_fixture->github.session->answerNext(FakeHTTPSession::response(200, "{\"installations\":[]}")));
        drainEvents();
        QVERIFY(refreshButton()->isEnabled());
        QVERIFY(!refreshButton()->isBusy());
        QVERIFY(!refreshButton()->findChild<ProgressSpinner *>()->isVisible());
        QCOMPARE(refreshButton()->toolTip(), QStringLiteral("Refresh repositories"));
    }

    void aRefreshWithoutAccountsEndsAtOnce()
    {
        std::ignore = start(m_fixture->authentication->remove(1));
        open();
        refreshButton()->click();
        drainEvents();
        QVERIFY(refreshButton()->isEnabled());
    }

    void aRefreshOfSomebodyElseDisablesTheButton()
    {
        open();
        m_fixture->github.session->handler = {};
        const auto refresh = start(m_fixture->installations->refresh(m_fixture->authentication.get()));
        QVERIFY(!refreshButton()->isEnabled());
        QVERIFY(refreshButton()->isBusy());
        drainEvents();
        QVERIFY(m_fixture->github.session->answerNext(FakeHTTPSession::response(200, "{\"installations\":[]}")));
        drainEvents();
        QVERIFY(refreshButton()->isEnabled());
    }

    void aFirstLoadShowsTheSpinnerInTheMiddle()
    {
        open();
        m_fixture->github.session->handler = {};
        refreshButton()->click();
        QVERIFY(shownLabel(*m_view, kLoading));
        QVERIFY(!list()->isVisible());
    }

    void aLaterLoadKeepsTheList()
    {
        load();
        open();
        m_fixture->github.session->handler = {};
        refreshButton()->click();
        QVERIFY(!shownLabel(*m_view, kLoading));
        QVERIFY(list()->isVisible());
        QCOMPARE(shownNames().size(), 4);
        QVERIFY(refreshButton()->isBusy());
    }

    void withoutRepositoriesThePlaceholderIsShownAndNothingCanBeSwitched()
    {
        m_fixture->github.identities[QStringLiteral("alice")].repositories.clear();
        load();
        open();
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Ready);
        QVERIFY(shownLabel(*m_view, QStringLiteral("No results")));
        QVERIFY(!shownButton(*m_view, kEnableAll)->isEnabled());
        QVERIFY(!shownButton(*m_view, kDisableAll)->isEnabled());
    }

    void aSearchThatFindsNothingIsNamed()
    {
        load();
        open();
        field()->setText(QStringLiteral("<b>x</b>"));
        auto *title = shownLabel(*m_view, QStringLiteral("No results for “<b>x</b>”"));
        QVERIFY(title);
        QCOMPARE(title->textFormat(), Qt::PlainText);
        QVERIFY(!list()->isVisible());
        field()->clear();
        QVERIFY(list()->isVisible());
    }

    void aSearchFiltersByNameAndLogin()
    {
        load();
        open();
        field()->setText(QStringLiteral("ACME"));
        QCOMPARE(shownNames(), (QStringList{QStringLiteral("acme/api"), QStringLiteral("acme/web")}));
        field()->setText(QStringLiteral("alice-o"));
        QCOMPARE(shownNames().size(), 4);
        field()->setText(QStringLiteral(" "));
        QVERIFY(shownNames().isEmpty());
    }

    void theBulkButtonsLookAtAllAndNotOnlyAtWhatIsFound()
    {
        load();
        open();
        QVERIFY(!shownButton(*m_view, kEnableAll)->isEnabled());
        QVERIFY(shownButton(*m_view, kDisableAll)->isEnabled());
        m_fixture->installations->setRepository(QStringLiteral("R_beta/site"), false);
        field()->setText(QStringLiteral("acme"));
        QVERIFY(shownButton(*m_view, kEnableAll)->isEnabled());
        m_fixture->defaults.writes.clear();
        shownButton(*m_view, kDisableAll)->click();
        QVERIFY(m_fixture->installations->monitoredRepositories().isEmpty());
        QVERIFY(!shownButton(*m_view, kDisableAll)->isEnabled());
        QVERIFY(shownButton(*m_view, kEnableAll)->isEnabled());
        shownButton(*m_view, kEnableAll)->click();
        QCOMPARE(m_fixture->installations->monitoredRepositories().size(), 4);
        QVERIFY(!shownButton(*m_view, kEnableAll)->isEnabled());
        QCOMPARE(m_fixture->defaults.writes.size(), 2);
    }

    void aFailedRefreshWarnsBelowTheList()
    {
        load();
        auto &bob = m_fixture->github.identities[QStringLiteral("alice")];
        bob.restFailure = FakeHTTPSession::response(500, "{}");
        load();
        open();
        const QString message = m_fixture->installations->state().message;
        QVERIFY(message.startsWith(QStringLiteral("alice: ")));
        auto *warning = shownLabel(*m_view, message);
        QVERIFY(warning);
        QVERIFY(warning->mapTo(m_view.get(), QPoint()).y() > field()->mapTo(m_view.get(), QPoint()).y() + 100);
        bob.restFailure.reset();
        load();
        QVERIFY(!shownLabel(*m_view, message));
    }

    void aClickSwitchesARowAndWritesOnce()
    {
        load();
        open();
        m_fixture->defaults.writes.clear();
        clickRow(1);
        QVERIFY(!m_fixture->installations->repositories().at(1).isIncluded);
        QCOMPARE(m_fixture->defaults.writes, QStringList{QStringLiteral("github.excludedRepositories")});
        clickRow(1);
        QVERIFY(m_fixture->installations->repositories().at(1).isIncluded);
    }

    void twoQuickClicksSwitchTwice()
    {
        load();
        open();
        const QPoint middle = list()->visualRect(list()->model()->index(0, 0)).center();
        m_fixture->defaults.writes.clear();
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, middle);
        QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {}, middle);
        QTest::mouseRelease(list()->viewport(), Qt::LeftButton, {}, middle);
        QCOMPARE(m_fixture->defaults.writes.size(), 2);
        QVERIFY(m_fixture->installations->repositories().at(0).isIncluded);
    }

    void aClickBelowTheRowsOrWithAnotherButtonSwitchesNothing()
    {
        load();
        open();
        m_fixture->defaults.writes.clear();
        QTest::mouseClick(
            list()->viewport(), Qt::LeftButton, {}, list()->viewport()->rect().bottomLeft() + QPoint(5, -2));
        const QPoint middle = list()->visualRect(list()->model()->index(0, 0)).center();
        QTest::mouseClick(list()->viewport(), Qt::RightButton, {}, middle);
        QVERIFY(m_fixture->defaults.writes.isEmpty());
    }

    void spaceSwitchesTheRowWithTheFocus()
    {
        load();
        open();
        list()->setFocus();
        list()->setCurrentIndex(list()->model()->index(2, 0));
        m_fixture->defaults.writes.clear();
        QTest::keyClick(list(), Qt::Key_Space);
        QVERIFY(!m_fixture->installations->repositories().at(2).isIncluded);
        QCOMPARE(m_fixture->defaults.writes.size(), 1);
        QCOMPARE(list()->currentIndex().row(), 2);
        QVERIFY(list()->hasFocus());
        QTest::keyClick(list(), Qt::Key_Space);
        QVERIFY(m_fixture->installations->repositories().at(2).isIncluded);
        QVERIFY(field()->text().isEmpty());
    }

    void whatIsTypedGoesToTheSearchField()
    {
        load();
        open();
        list()->setFocus();
        list()->setCurrentIndex(list()->model()->index(0, 0));
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("w"));
        QVERIFY(field()->hasFocus());
        QCOMPARE(field()->text(), QStringLiteral("w"));
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("eb"));
        QCOMPARE(field()->text(), QStringLiteral("web"));
        QCOMPARE(shownNames(), QStringList{QStringLiteral("acme/web")});
        // From any control, and appended to the text.
        shownButton(*m_view, kDisableAll)->setFocus();
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("x"));
        QCOMPARE(field()->text(), QStringLiteral("webx"));
        list()->setFocus();
        QTest::keyClick(list(), Qt::Key_Backspace);
        QCOMPARE(field()->text(), QStringLiteral("web"));
    }

    void arrowsLeadFromTheFieldToTheListAndBack()
    {
        load();
        open();
        field()->setFocus();
        QTest::keyClick(field(), Qt::Key_Down);
        QVERIFY(list()->hasFocus());
        QCOMPARE(list()->currentIndex().row(), 0);
        QTest::keyClick(list(), Qt::Key_Down);
        QCOMPARE(list()->currentIndex().row(), 1);
        QTest::keyClick(list(), Qt::Key_Up);
        QTest::keyClick(list(), Qt::Key_Up);
        QVERIFY(field()->hasFocus());
        field()->setText(QStringLiteral("nothing"));
        QTest::keyClick(field(), Qt::Key_Down);
        QVERIFY(field()->hasFocus());
    }

    void aKeyReachesTheSearch()
    {
        load();
        open();
        list()->setFocus();
        QTest::keyClick(list(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(field()->hasFocus());
    }

    void aClickOnTheBellMutesTheRepositoryAndSwitchesNothing()
    {
        load();
        open();
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, bell(1));
        QVERIFY(muted().isMuted(QStringLiteral("R_acme/web")));
        QVERIFY(m_fixture->installations->repositories().at(1).isIncluded);
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, bell(1));
        QVERIFY(!muted().isMuted(QStringLiteral("R_acme/web")));
        // What begins on the bell and ends beside it means neither.
        QTest::mousePress(list()->viewport(), Qt::LeftButton, {}, bell(1));
        QTest::mouseRelease(list()->viewport(), Qt::LeftButton, {}, bell(1) - QPoint(200, 0));
        QVERIFY(!muted().isMuted(QStringLiteral("R_acme/web")));
        QVERIFY(m_fixture->installations->repositories().at(1).isIncluded);
    }

    void theBellSaysWhatItDoes()
    {
        load();
        open();
        QHelpEvent event(QEvent::ToolTip, bell(1), list()->viewport()->mapToGlobal(bell(1)));
        QCoreApplication::sendEvent(list()->viewport(), &event);
        QVERIFY2(QToolTip::text().contains(QStringLiteral("Mute acme/web (Ctrl+M)")), qPrintable(QToolTip::text()));
        QToolTip::hideText();
    }

    void theBellLooksDifferentWhereTheRepositoryIsMuted()
    {
        load();
        open();
        const QImage before = list()->viewport()->grab().toImage();
        muted().mute(QStringLiteral("R_acme/web"));
        QVERIFY(list()->viewport()->grab().toImage() != before);
    }

    void aKeyMutesTheFocusedRepository()
    {
        load();
        open();
        list()->setFocus();
        QTest::keyClick(list(), Qt::Key_M, Qt::ControlModifier);
        QVERIFY(field()->text().isEmpty());
        list()->setCurrentIndex(list()->model()->index(1, 0));
        QTest::keyClick(list(), Qt::Key_M, Qt::ControlModifier);
        QVERIFY(muted().isMuted(QStringLiteral("R_acme/web")));
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_M, Qt::ControlModifier, QString(), true);
        QCoreApplication::sendEvent(list(), &repeated);
        QVERIFY(muted().isMuted(QStringLiteral("R_acme/web")));
        QTest::keyClick(list(), Qt::Key_M, Qt::ControlModifier);
        QVERIFY(!muted().isMuted(QStringLiteral("R_acme/web")));
    }

    void assistiveTechnologyMutesARepository()
    {
        load();
        open();
        const auto actions = list()->accessibleActions(list()->model()->index(1, 0));
        QCOMPARE(actions.size(), 2);
        QCOMPARE(actions.at(1).name, QStringLiteral("Mute acme/web"));
        actions.at(1).perform();
        QVERIFY(muted().isMuted(QStringLiteral("R_acme/web")));
        QCOMPARE(list()->accessibleActions(list()->model()->index(1, 0)).at(1).name, QStringLiteral("Unmute acme/web"));
    }

    void theRowWithTheFocusKeepsItWhileItIsFound()
    {
        load();
        open();
        list()->setCurrentIndex(list()->model()->index(2, 0));
        field()->setText(QStringLiteral("beta"));
        QCOMPARE(list()->currentIndex().data().toString(), QStringLiteral("beta/site"));
        field()->clear();
        QCOMPARE(list()->currentIndex().row(), 2);
        field()->setText(QStringLiteral("acme"));
        QVERIFY(!list()->currentIndex().isValid());
    }

    void focusAndScrollPositionSurviveARefresh()
    {
        auto &alice = m_fixture->github.identities[QStringLiteral("alice")];
        for (int i = 0; i < 200; ++i)
            alice.repositories.append(repository(QStringLiteral("many/%1").arg(i, 3, 10, QLatin1Char('0'))));
        load();
        open();
        list()->setFocus();
        list()->setCurrentIndex(list()->model()->index(150, 0));
        const int scrolled = list()->verticalScrollBar()->value();
        QVERIFY(scrolled > 0);
        alice.repositories.append(repository(QStringLiteral("zeta/last")));
        load();
        QCOMPARE(list()->model()->rowCount(), 205);
        QCOMPARE(list()->currentIndex().row(), 150);
        QCOMPARE(list()->verticalScrollBar()->value(), scrolled);
        QVERIFY(list()->hasFocus());
        m_fixture->installations->setRepository(QStringLiteral("R_many/100"), false);
        QCOMPARE(list()->verticalScrollBar()->value(), scrolled);
    }

    void theFocusOfARowThatGoesStaysAtItsPlace()
    {
        load();
        open();
        list()->setFocus();
        list()->setCurrentIndex(list()->model()->index(1, 0));
        const QString next = list()->model()->index(2, 0).data().toString();
        m_fixture->github.identities[QStringLiteral("alice")].repositories.removeIf(
            [this](const auto &known) { return known.name == list()->currentIndex().data().toString(); });
        load();
        QCOMPARE(list()->currentIndex().row(), 1);
        QCOMPARE(list()->currentIndex().data().toString(), next);
    }

    void assistiveTechnologyReadsWhetherARowIsMonitored()
    {
        load();
        open();
        m_fixture->installations->setRepository(QStringLiteral("R_acme/web"), false);
        auto *interface = QAccessible::queryAccessibleInterface(list());
        QVERIFY(interface);
        QCOMPARE(interface->text(QAccessible::Name), QStringLiteral("Repositories"));
        QCOMPARE(interface->childCount(), 4);
        auto *on = interface->child(0);
        QCOMPARE(on->text(QAccessible::Name), QStringLiteral("acme/api, monitored"));
        QVERIFY(on->state().checkable);
        QVERIFY(on->state().checked);
        auto *off = interface->child(1);
        QCOMPARE(off->text(QAccessible::Name), QStringLiteral("acme/web, not monitored"));
        QVERIFY(!off->state().checked);
        QCOMPARE(off->actionInterface()->actionNames(),
            (QStringList{QAccessibleActionInterface::toggleAction(), QStringLiteral("Mute acme/web")}));
        off->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(off->state().checked);
        QVERIFY(!m_fixture->defaults.stringList(QStringLiteral("github.excludedRepositories"))
                     .contains(QStringLiteral("R_acme/web")));
        QCOMPARE(QAccessible::queryAccessibleInterface(field())->text(QAccessible::Name),
            QStringLiteral("Search repositories"));
    }

    void aRefreshGoesOnWhileAnotherTabIsShown()
    {
        open();
        m_fixture->github.session->handler = {};
        refreshButton()->click();
        drainEvents();
        m_view->hide();
        drainEvents();
        QVERIFY(m_fixture->github.session->answerNext(FakeHTTPSession::response(200, "{\"installations\":[]}")));
        drainEvents();
        m_view->show();
        QVERIFY(refreshButton()->isEnabled());
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Ready);
    }

    void aRefreshEndsWithTheView()
    {
        open();
        m_fixture->github.session->handler = {};
        refreshButton()->click();
        drainEvents();
        m_view.reset();
        drainEvents();
        QCOMPARE(m_fixture->github.session->openRequests, 0);
        QCOMPARE(m_fixture->installations->state().state, InstallationLoadingState::Case::Disconnected);
    }

    void hostileNamesAreShownLiterally()
    {
        auto &alice = m_fixture->github.identities[QStringLiteral("alice")];
        alice.repositories = {repository(QStringLiteral("<img src=x>/") + QString(500, QLatin1Char('w')))};
        load();
        open();
        QVERIFY(!m_view->grab().isNull());
        QVERIFY(list()->sizeHintForColumn(0) < 500);
    }

    void everyControlHasAMnemonicOfItsOwn()
    {
        load();
        open();
        QStringList mnemonics;
        for (const QString &text : {kRefresh, kEnableAll, kDisableAll})
            mnemonics.append(shownButton(*m_view, text)->shortcut().toString());
        QCOMPARE(mnemonics, (QStringList{QStringLiteral("Alt+F"), QStringLiteral("Alt+E"), QStringLiteral("Alt+D")}));
    }

private:
    void load() { awaitValue(m_fixture->installations->refresh(m_fixture->authentication.get())); }

    void open()
    {
        m_view = std::make_unique<RepositoriesSettingsView>(
            m_fixture->authentication.get(), m_fixture->installations.get(), &muted(), &m_fixture->clock);
        m_view->resize(596, 388);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
    }

    BusyButton *refreshButton() { return m_view->findChild<BusyButton *>(); }
    SearchField *field() { return m_view->findChild<SearchField *>(); }
    RepositoryListView *list() { return m_view->findChild<RepositoryListView *>(); }

    MutedRepositories &muted() { return m_fixture->monitor->announcements().muted(); }

    /// The middle of the bell of the row.
    QPoint bell(int row)
    {
        QStyleOptionViewItem option;
        option.initFrom(list());
        option.rect = list()->visualRect(list()->model()->index(row, 0));
        return RepositoryRowDelegate::bellPlace(option).center();
    }

    void clickRow(int row)
    {
        const QRect frame = list()->visualRect(list()->model()->index(row, 0));
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, QPoint(frame.right() - 20, frame.center().y()));
    }

    QStringList shownNames()
    {
        QStringList names;
        for (int row = 0; list()->isVisible() && row < list()->model()->rowCount(); ++row)
            names.append(list()->model()->index(row, 0).data().toString());
        return names;
    }

    std::unique_ptr<MonitorFixture> m_fixture;
    std::unique_ptr<RepositoriesSettingsView> m_view;
};

VELMORA_WIDGET_TEST(RepositoriesSettingsViewTest)
#include "repositories_settings_view_test.moc"
