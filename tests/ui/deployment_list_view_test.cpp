// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_view.h"

#include "monitor/environments.h"
#include "monitor/muted_repositories.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_pasteboard.h"
#include "support/fake_preferences.h"
#include "support/fake_url_opener.h"
#include "support/palettes.h"
#include "support/test_main.h"
#include "ui/deployments/deployment_actions.h"
#include "ui/deployments/deployment_list_model.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QMenu>
#include <QPaintEvent>
#include <QProxyStyle>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>
#include <QToolTip>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

DeploymentSnapshot snapshot(const QString &id, DeploymentState state, Instant updatedAt = noon())
{
    auto made = makeSnapshot(id, state, updatedAt);
    made.logURL = WebAddress(text("https://ci.example/") + id);
    made.environmentURL = WebAddress(text("https://shop.example/") + id);
    return made;
}

DeploymentList finished(int count, Instant updatedAt = noon())
{
    DeploymentList list;
    for (int i = 0; i < count; ++i)
        list.append(snapshot(QString::number(i), DeploymentState::Success, updatedAt));
    return list;
}

/// Records the painted region.
class PaintLog final : public QObject
{
public:
    explicit PaintLog(QWidget *widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent *>(event)->region();
        return QObject::eventFilter(watched, event);
    }

    QRegion painted;
};

/// A style that has switched animations off.
class StillStyle final : public QProxyStyle
{
public:
    using QProxyStyle::QProxyStyle;
    int styleHint(
        StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *returnData) const override
    {
        return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, returnData);
    }
};

} // namespace

class DeploymentListViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<FakeClock>(noon());
        m_opener = std::make_unique<FakeURLOpener>();
        m_pasteboard = std::make_unique<FakePasteboard>();
        DesktopPorts ports;
        ports.clock = m_clock.get();
        ports.urlOpener = m_opener.get();
        ports.pasteboard = m_pasteboard.get();
        m_view = std::make_unique<DeploymentListView>(ports);
        m_view->resize(360, 360);
    }

    void cleanup()
    {
        m_view.reset();
        drainEvents();
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    // Clicks

    void aClickOnARowOpensItsLog()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        click(rowPoint(1));
        QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/a")});
    }

    void withoutALogItOpensTheDeploymentsOfTheRepository()
    {
        auto deployment = snapshot(text("a"), DeploymentState::Success);
        deployment.logURL.reset();
        show({deployment});
        click(rowPoint(1));
        QCOMPARE(m_opener->opened, QStringList{text("https://github.com/acme/web/deployments")});
    }

    void aClickOnTheLinkOpensTheEnvironment()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        click(linkPoint(1));
        QCOMPARE(m_opener->opened, QStringList{text("https://shop.example/a")});
    }

    void withoutAnEnvironmentThereIsNoLink()
    {
        auto deployment = snapshot(text("a"), DeploymentState::Success);
        deployment.environmentURL.reset();
        show({deployment});
        click(linkPoint(1));
        QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/a")});
    }

    void onlyWebPagesAreOpened()
    {
        auto deployment = snapshot(text("a"), DeploymentState::Success);
        deployment.logURL = WebAddress(text("file:///etc/passwd"));
        deployment.repositoryURL = WebAddress(text("ssh://github.com"));
        deployment.environmentURL = WebAddress(text("javascript:alert(1)"));
        show({deployment});
        click(rowPoint(1));
        click(linkPoint(1));
        for (const auto action : {RowActionKind::OpenDetails, RowActionKind::OpenEnvironment,
                 RowActionKind::CopyDetailsLink, RowActionKind::CopyEnvironmentLink})
            DeploymentActions(m_opener.get(), m_pasteboard.get()).perform(action, deployment);
        QVERIFY(m_opener->opened.isEmpty());
        QVERIFY(m_pasteboard->copied.isEmpty());
    }

    void theWholeRowCanBeClicked()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        const QRect row = m_view->visualRect(index(1));
        for (const QPoint &corner : {row.topLeft(), row.topRight(), row.bottomLeft(), row.bottomRight()})
            click(corner);
        QCOMPARE(m_opener->opened.size(), 4);
    }

    void aHeaderAndTheSpaceBelowTheListDoNothing()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        click(m_view->visualRect(index(0)).center());
        click(QPoint(100, 350));
        QVERIFY(m_opener->opened.isEmpty());
    }

    void aPressThatIsLetGoElsewhereDoesNothing()
    {
        show({snapshot(text("a"), DeploymentState::Success), snapshot(text("b"), DeploymentState::Success)});
        QTest::mousePress(m_view->viewport(), Qt::LeftButton, {}, rowPoint(1));
        QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, {}, rowPoint(2));
        QTest::mousePress(m_view->viewport(), Qt::LeftButton, {}, rowPoint(1));
        QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, {}, linkPoint(1));
        QTest::mouseClick(m_view->viewport(), Qt::MiddleButton, {}, rowPoint(1));
        QTest::mouseClick(m_view->viewport(), Qt::RightButton, {}, rowPoint(1));
        QVERIFY(m_opener->opened.isEmpty());
    }

    void aRowThatChangesPlacesWhileItIsPressedIsTheOneThatOpens()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        QTest::mousePress(m_view->viewport(), Qt::LeftButton, {}, rowPoint(1));
        m_view->setDeployments(
            {snapshot(text("b"), DeploymentState::Success), snapshot(text("a"), DeploymentState::Success)});
        // Another row is below the mouse now; the user did not mean that one.
        QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, {}, rowPoint(1));
        QVERIFY(m_opener->opened.isEmpty());
    }

    // Keys

    void theKeysMoveFromRowToRowAndOverHeaders()
    {
        show({snapshot(text("a"), DeploymentState::InProgress), snapshot(text("b"), DeploymentState::Failure),
            snapshot(text("c"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        QCOMPARE(currentID(), text("a"));
        press(Qt::Key_Down);
        QCOMPARE(currentID(), text("b"));
        press(Qt::Key_Down);
        QCOMPARE(currentID(), text("c"));
        press(Qt::Key_Down);
        QCOMPARE(currentID(), text("c"));
        press(Qt::Key_Up);
        QCOMPARE(currentID(), text("b"));
        press(Qt::Key_Home);
        QCOMPARE(currentID(), text("a"));
        press(Qt::Key_Up);
        QCOMPARE(currentID(), text("a"));
        press(Qt::Key_End);
        QCOMPARE(currentID(), text("c"));
        press(Qt::Key_PageUp);
        QCOMPARE(currentID(), text("a"));
        press(Qt::Key_PageDown);
        QCOMPARE(currentID(), text("c"));
    }

    void theCurrentRowIsScrolledIntoView()
    {
        show(finished(100));
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_End);
        QCOMPARE(currentID(), text("99"));
        QVERIFY(m_view->viewport()->rect().contains(m_view->visualRect(m_view->currentIndex())));
        press(Qt::Key_PageUp);
        QVERIFY(m_view->viewport()->rect().contains(m_view->visualRect(m_view->currentIndex())));
        press(Qt::Key_Home);
        // The header above the first row is visible, too.
        QCOMPARE(m_view->verticalScrollBar()->value(), 0);
    }

    void returnOpensTheRowAndControlReturnTheEnvironment()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_Return);
        press(Qt::Key_Enter, Qt::KeypadModifier);
        press(Qt::Key_Return, Qt::ControlModifier);
        press(Qt::Key_Enter, Qt::ControlModifier | Qt::KeypadModifier);
        press(Qt::Key_Return, Qt::AltModifier);
        QCOMPARE(m_opener->opened,
            (QStringList{text("https://ci.example/a"), text("https://ci.example/a"), text("https://shop.example/a"),
                text("https://shop.example/a")}));
    }

    void spaceOpensTheRowAsReturnDoes()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_Space);
        press(Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/a")});
    }

    void aKeyThatIsHeldDownOpensThePageOnce()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        for (const auto key : {Qt::Key_Return, Qt::Key_Space}) {
            m_opener->opened.clear();
            press(key);
            for (const auto modifiers : {Qt::NoModifier, Qt::ControlModifier}) {
                QKeyEvent repeated(QEvent::KeyPress, key, modifiers, QString(), true);
                QCoreApplication::sendEvent(m_view.get(), &repeated);
            }
            QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/a")});
        }
    }

    void copyCopiesTheCommit()
    {
        const auto deployment = snapshot(text("a"), DeploymentState::Success);
        show({deployment});
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(m_pasteboard->copied, QStringList{deployment.commitOID});
    }

    void withoutACurrentRowTheFirstKeyGoesToTheFirst()
    {
        show(finished(3));
        takeFocus(Qt::OtherFocusReason);
        QVERIFY(currentID().isEmpty());
        press(Qt::Key_Return);
        QVERIFY(m_opener->opened.isEmpty());
        press(Qt::Key_Down);
        QCOMPARE(currentID(), text("0"));
    }

    void escapeLettersAndBackspaceAreLeftToTheWindow_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QString>("typed");
        QTest::newRow("Escape") << Qt::Key_Escape << QStringLiteral("\x1b");
        QTest::newRow("a letter") << Qt::Key_Z << QStringLiteral("z");
        QTest::newRow("Backspace") << Qt::Key_Backspace << QStringLiteral("\b");
    }
    void escapeLettersAndBackspaceAreLeftToTheWindow()
    {
        QFETCH(Qt::Key, key);
        QFETCH(QString, typed);
        show(finished(1));
        takeFocus(Qt::TabFocusReason);
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, typed);
        QCoreApplication::sendEvent(m_view.get(), &event);
        QVERIFY(!event.isAccepted());
    }

    void theFirstDeploymentTakesTheFocusOnRequestAndIsLeftAtTheTop()
    {
        show(finished(2));
        const QSignalSpy left(m_view.get(), &DeploymentListView::leftAtTop);
        m_view->focusFirstRow();
        QVERIFY(m_view->hasFocus());
        QCOMPARE(m_view->currentIndex().row(), 1);
        press(Qt::Key_Down);
        press(Qt::Key_Up);
        QCOMPARE(left.size(), 0);
        press(Qt::Key_Up);
        QCOMPARE(left.size(), 1);
        QCOMPARE(m_view->currentIndex().row(), 1);
    }

    void keysDoNothingInAnEmptyList()
    {
        show({});
        takeFocus(Qt::TabFocusReason);
        for (const auto key : {Qt::Key_Down, Qt::Key_Home, Qt::Key_Return, Qt::Key_PageDown})
            press(key);
        press(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_opener->opened.isEmpty());
        QVERIFY(m_pasteboard->copied.isEmpty());
    }

    void theRowIsMarkedForWhoUsesTheKeyboardOnly()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        QApplication::setActiveWindow(m_view.get());
        takeFocus(Qt::MouseFocusReason);
        const QImage plain = picture();
        takeFocus(Qt::TabFocusReason);
        const QImage marked = picture();
        QVERIFY(marked != plain);
        QTest::mousePress(m_view->viewport(), Qt::RightButton, {}, QPoint(100, 350));
        QCOMPARE(picture(), plain);
        press(Qt::Key_Down);
        QCOMPARE(picture(), marked);
        m_view->clearFocus();
        QCOMPARE(picture(), plain);
    }

    // Context menu

    void theMenuDoesWhatItSays()
    {
        const auto deployment = snapshot(text("a"), DeploymentState::Success);
        show({deployment});
        QStringList entries;
        for (int i = 0; i < 5; ++i) {
            auto *menu = openMenu(rowPoint(1));
            QVERIFY(menu);
            QList<QAction *> actions = menu->actions();
            actions.removeIf([](const QAction *action) { return action->isSeparator(); });
            QCOMPARE(actions.size(), 5);
            entries.append(actions.at(i)->text());
            actions.at(i)->trigger();
            closeMenu(menu);
        }
        QCOMPARE(entries,
            (QStringList{text("Open log"), text("Open environment"), text("Copy commit ID"), text("Copy link to log"),
                text("Copy link to environment")}));
        QCOMPARE(m_opener->opened, (QStringList{text("https://ci.example/a"), text("https://shop.example/a")}));
        QCOMPARE(m_pasteboard->copied,
            (QStringList{deployment.commitOID, text("https://ci.example/a"), text("https://shop.example/a")}));
    }

    void theMenuShowsTheKeys()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        auto *menu = openMenu(rowPoint(1));
        QCOMPARE(menu->actions().at(0)->shortcut(), QKeySequence(Qt::Key_Return));
        QCOMPARE(menu->actions().at(1)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Return));
        QVERIFY(menu->actions().at(2)->isSeparator());
        closeMenu(menu);
    }

    void theMenuKeepsTheDeploymentThatItWasOpenedFor()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        auto *menu = openMenu(rowPoint(1));
        m_view->setDeployments({snapshot(text("b"), DeploymentState::Success)});
        menu->actions().at(0)->trigger();
        QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/a")});
        closeMenu(menu);
    }

    void theKeyboardOpensTheMenuOfTheCurrentRow()
    {
        show({snapshot(text("a"), DeploymentState::Success), snapshot(text("b"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_Down);
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
        QCoreApplication::sendEvent(m_view->viewport(), &event);
        auto *menu = m_view->findChild<QMenu *>();
        QVERIFY(menu);
        menu->actions().at(0)->trigger();
        QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/b")});
        closeMenu(menu);
    }

    void aHeaderHasNoMenu()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        QVERIFY(!openMenu(m_view->visualRect(index(0)).center()));
        QVERIFY(!openMenu(QPoint(100, 350)));
    }

    // Painting

    void rowsReactToTheMouse()
    {
        show({snapshot(text("a"), DeploymentState::Success), snapshot(text("b"), DeploymentState::Success)});
        const QImage plain = picture();
        move(rowPoint(1));
        const QImage hovered = picture();
        move(rowPoint(2));
        const QImage otherHovered = picture();
        move(linkPoint(2));
        const QImage linkHovered = picture();
        QTest::mousePress(m_view->viewport(), Qt::LeftButton, {}, linkPoint(2));
        const QImage linkPressed = picture();
        QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, {}, QPoint(100, 350));
        QTest::mousePress(m_view->viewport(), Qt::LeftButton, {}, rowPoint(2));
        const QImage pressed = picture();
        move(QPoint(100, 350));
        QCOMPARE(picture(), plain);
        QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, {}, QPoint(100, 350));
        const QList<QImage> all{plain, hovered, otherHovered, linkHovered, linkPressed, pressed};
        for (qsizetype i = 0; i < all.size(); ++i) {
            for (qsizetype j = 0; j < i; ++j)
                QVERIFY2(all.at(i) != all.at(j), qPrintable(QStringLiteral("%1 and %2").arg(i).arg(j)));
        }
        move(rowPoint(1));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(m_view->viewport(), &leave);
        QCOMPARE(picture(), plain);
    }

    void theLinkHasTheHand()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        move(linkPoint(1));
        QCOMPARE(m_view->viewport()->cursor().shape(), Qt::PointingHandCursor);
        move(rowPoint(1));
        QCOMPARE(m_view->viewport()->cursor().shape(), Qt::ArrowCursor);
    }

    void theToolTipTellsTheWholeOrWhatTheLinkOpens()
    {
        auto deployment = snapshot(text("a"), DeploymentState::Success);
        deployment.environment = text("<b>production</b>");
        show({deployment});
        QVERIFY(toolTip(rowPoint(1)).contains(deployment.commitOID));
        QVERIFY(toolTip(rowPoint(1)).contains(deployment.environment));
        QCOMPARE(toolTip(linkPoint(1)), text("Open <b>production</b>"));
        QVERIFY(toolTip(QPoint(100, 350)).isEmpty());
    }

    void whatTheNetworkSendsIsDrawn_data()
    {
        QTest::addColumn<QString>("environment");
        QTest::newRow("nothing") << QString();
        QTest::newRow("very long") << text("x").repeated(5000);
        QTest::newRow("lines") << text("a\nb\nc");
        QTest::newRow("markup") << text("<h1>x</h1>");
    }

    void whatTheNetworkSendsIsDrawn()
    {
        QFETCH(QString, environment);
        auto deployment = snapshot(text("a"), DeploymentState::Success);
        deployment.environment = environment;
        deployment.repositoryName = environment;
        deployment.refName = environment;
        show({deployment, snapshot(text("b"), DeploymentState::Success)});
        // The row keeps its height and paints nothing into the next row.
        const int height = m_view->visualRect(index(1)).height();
        QCOMPARE(m_view->visualRect(index(2)).height(), height);
        const QRect next = m_view->visualRect(index(2));
        const QImage below = picture().copy(next);
        show({snapshot(text("c"), DeploymentState::Success), snapshot(text("b"), DeploymentState::Success)});
        QCOMPARE(picture().copy(next), below);
    }

    void twoTextsShareALine()
    {
        QCOMPARE(sharedWidths(100, 60, 40), std::pair(60, 40));
        QCOMPARE(sharedWidths(100, 90, 20), std::pair(80, 20));
        QCOMPARE(sharedWidths(100, 90, 60), std::pair(60, 40));
        QCOMPARE(sharedWidths(100, 20, 200), std::pair(20, 80));
        QCOMPARE(sharedWidths(0, 20, 20), std::pair(0, 0));
    }

    void theListFollowsFontPaletteAndDirection()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        const QImage before = picture();
        const int height = m_view->visualRect(index(1)).height();
        QFont font = m_view->font();
        font.setPointSizeF(font.pointSizeF() * 2);
        m_view->setFont(font);
        QVERIFY(m_view->visualRect(index(1)).height() > height);
        m_view->setFont(QFont());
        QCOMPARE(picture(), before);
        m_view->setPalette(darkPalette());
        QVERIFY(picture() != before);
        m_view->setPalette(QPalette());
        QCOMPARE(picture(), before);
        m_view->setLayoutDirection(Qt::RightToLeft);
        QVERIFY(picture() != before);
        click(QPoint(m_view->viewport()->width() - 1 - linkPoint(1).x(), linkPoint(1).y()));
        QCOMPARE(m_opener->opened, QStringList{text("https://shop.example/a")});
    }

    // Dismissing

    void theKeyDismissesTheCurrentFailureAndShiftAllOfThem()
    {
        showFailures();
        QSignalSpy chosen(m_view.get(), &DeploymentListView::dismissalChosen);
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_Delete);
        QCOMPARE(chosen.takeFirst(), (QVariantList{QVariant::fromValue(QSet<QString>{text("a")}), true}));
        press(Qt::Key_End);
        QCOMPARE(currentID(), text("c"));
        press(Qt::Key_Delete);
        press(Qt::Key_Delete, Qt::ControlModifier);
        QVERIFY(chosen.isEmpty());
        press(Qt::Key_Delete, Qt::ShiftModifier);
        QCOMPARE(chosen.takeFirst(), (QVariantList{QVariant::fromValue(QSet<QString>{text("a"), text("b")}), true}));
        QVERIFY(m_opener->opened.isEmpty());
    }

    void theTitleOfTheFailuresDismissesAllThatAreNotDismissed()
    {
        const auto list = showFailures();
        const QSize row = m_view->visualRect(index(0)).size();
        QSignalSpy chosen(m_view.get(), &DeploymentListView::dismissalChosen);
        const auto clickAlong = [&](int header) {
            const QRect place = m_view->visualRect(index(header));
            for (int x = 0; x < row.width(); x += 4)
                click(QPoint(x, place.center().y() + 3));
        };
        clickAlong(3);
        QVERIFY(chosen.isEmpty());
        clickAlong(0);
        QVERIFY2(chosen.size() > 5 && chosen.size() < row.width() / 8, qPrintable(QString::number(chosen.size())));
        QCOMPARE(chosen.takeFirst(), (QVariantList{QVariant::fromValue(QSet<QString>{text("a"), text("b")}), true}));
        chosen.clear();
        FailureMarks marks{{text("a"), FailureMark{std::nullopt, false, true}}};
        m_view->setDeployments(list, marks);
        clickAlong(0);
        QCOMPARE(chosen.takeFirst(), (QVariantList{QVariant::fromValue(QSet<QString>{text("b")}), true}));
        chosen.clear();
        marks.insert(text("b"), FailureMark{std::nullopt, false, true});
        m_view->setDeployments(list, marks);
        clickAlong(0);
        press(Qt::Key_Delete, Qt::ShiftModifier);
        QVERIFY(chosen.isEmpty());
        QVERIFY(!m_view->currentIndex().isValid());
    }

    void theMenuDismissesAFailureAndTakesThatBack()
    {
        const auto list = showFailures();
        QSignalSpy chosen(m_view.get(), &DeploymentListView::dismissalChosen);
        const auto choose = [&](int row, const char *entry) {
            QContextMenuEvent event(QContextMenuEvent::Mouse, rowPoint(row), QPoint());
            QCoreApplication::sendEvent(m_view->viewport(), &event);
            auto *menu = m_view->findChild<QMenu *>();
            QAction *found = nullptr;
            for (QAction *action : menu->actions())
                found = action->text() == text(entry) ? action : found;
            if (found)
                found->trigger();
            delete menu;
            return found != nullptr;
        };
        QVERIFY(!choose(4, "Dismiss"));
        QVERIFY(!choose(2, "Restore"));
        QVERIFY(choose(2, "Dismiss"));
        QCOMPARE(chosen.takeFirst(), (QVariantList{QVariant::fromValue(QSet<QString>{text("b")}), true}));
        m_view->setDeployments(list, {{text("b"), FailureMark{std::nullopt, false, true}}});
        QVERIFY(choose(2, "Restore"));
        QCOMPARE(chosen.takeFirst(), (QVariantList{QVariant::fromValue(QSet<QString>{text("b")}), false}));
    }

    void aClickAnywhereOnTheLineOfWhatIsHiddenShowsItAndHidesItAgain()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        hide({snapshot(text("h"), DeploymentState::Success)});
        QCOMPARE(m_view->model()->rowCount(), 3);
        click(rowPoint(2));
        QCOMPARE(m_view->model()->rowCount(), 4);
        click(rowPoint(3));
        QCOMPARE(m_opener->opened, QStringList{text("https://ci.example/h")});
        const QRect line = m_view->visualRect(index(2));
        click(QPoint(line.right() - 12, line.center().y() + 3));
        QCOMPARE(m_view->model()->rowCount(), 3);
    }

    void theKeyboardReachesTheLineOfWhatIsHidden()
    {
        show({snapshot(text("a"), DeploymentState::Success)});
        hide({snapshot(text("h"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_End);
        QCOMPARE(m_view->currentIndex(), index(2));
        press(Qt::Key_Space);
        QCOMPARE(m_view->model()->rowCount(), 4);
        QCOMPARE(m_view->currentIndex(), index(2));
        press(Qt::Key_Down);
        QCOMPARE(currentID(), text("h"));
        press(Qt::Key_Up);
        press(Qt::Key_Return);
        QCOMPARE(m_view->model()->rowCount(), 3);
        QVERIFY(m_opener->opened.isEmpty());
        press(Qt::Key_Up);
        QCOMPARE(currentID(), text("a"));
    }

    void assistiveTechnologyShowsWhatIsHidden()
    {
        show({});
        hide({snapshot(text("h"), DeploymentState::Success)});
        auto actions = m_view->accessibleActions(index(0));
        QCOMPARE(actions.size(), 1);
        QCOMPARE(actions.first().name, QAccessibleActionInterface::pressAction());
        QCOMPARE(actions.first().description, text("Show"));
        actions.first().perform();
        drainEvents();
        QCOMPARE(m_view->model()->rowCount(), 2);
        QCOMPARE(m_view->accessibleActions(index(0)).first().description, text("Hide again"));
    }

    void whatIsHiddenIsShownBelowItsLineHoweverLongTheListIs()
    {
        show(finished(100));
        hide({snapshot(text("h"), DeploymentState::InProgress)});
        m_view->scrollToBottom();
        click(m_view->visualRect(index(101)).center());
        QVERIFY(m_view->viewport()->rect().contains(m_view->visualRect(index(102))));
        QVERIFY(m_view->isTurning());
        const auto *bar = m_view->verticalScrollBar();
        QCOMPARE(bar->value(), bar->maximum());
    }

    void theMenuMutesTheRepositoryWhereThatIsOffered()
    {
        FakePreferences defaults;
        MutedRepositories muted(&defaults, m_clock.get());
        auto deployment = snapshot(text("a"), DeploymentState::Success);
        deployment.repositoryName = text("acme/&web");
        show({deployment});
        const auto last = [&] {
            auto *menu = openMenu(rowPoint(1));
            const QString entry = menu->actions().last()->text();
            menu->actions().last()->trigger();
            closeMenu(menu);
            return entry;
        };
        QCOMPARE(last(), text("Copy link to environment"));
        m_view->offerMuting(&muted);
        QCOMPARE(last(), text("Mute acme/&&web"));
        QVERIFY(muted.isMuted(deployment.repositoryNodeID));
        QCOMPARE(m_view->accessibleActions(m_view->model()->index(1, 0)).last().name, text("Unmute acme/&web"));
        QCOMPARE(last(), text("Unmute acme/&&web"));
        QVERIFY(!muted.isMuted(deployment.repositoryNodeID));
    }

    void theMenuChoosesAboutTheLineOfTheEnvironment()
    {
        FakePreferences defaults;
        Environments environments(&defaults, m_clock.get(), QString());
        DeploymentList previews;
        for (const char *environment : {"preview-1", "preview-2", "preview-&3"}) {
            auto preview = snapshot(text(environment), DeploymentState::Success);
            preview.environment = text(environment);
            previews.append(preview);
        }
        environments.see(previews);
        show(previews);
        m_view->offerChoices(&environments);
        const auto lastOf = [&](int row) {
            QStringList entries;
            QContextMenuEvent event(QContextMenuEvent::Mouse, rowPoint(row), QPoint());
            QCoreApplication::sendEvent(m_view->viewport(), &event);
            auto *menu = m_view->findChild<QMenu *>();
            for (const QAction *action : menu->actions())
                entries.append(action->text());
            delete menu;
            return entries.last(2);
        };
        const auto actionOf = [&](int row, const char *name) {
            const auto actions = m_view->accessibleActions(index(row));
            const auto found = std::ranges::find(actions, text(name), &AccessibleAction::name);
            QVERIFY2(found != actions.end(), name);
            found->perform();
            drainEvents();
        };
        QCOMPARE(lastOf(1), (QStringList{text("Show preview-1 without notifications"), text("Hide preview-1")}));
        QCOMPARE(lastOf(3).last(), text("Hide preview-&&3"));
        previews.append(previews.first());
        change(previews.last(), [](DeploymentSnapshot &deployment) { deployment.environment = text("preview-4"); });
        environments.see(previews);
        QCOMPARE(lastOf(1), (QStringList{text("Show preview-* without notifications"), text("Hide preview-*")}));
        actionOf(1, "Hide preview-*");
        QCOMPARE(environments.choices().rules, (QList<EnvironmentRule>{{text("preview-*"), EnvironmentChoice::Hide}}));
        QCOMPARE(
            lastOf(2), (QStringList{text("Notify about preview-*"), text("Show preview-* without notifications")}));
        actionOf(2, "Show preview-* without notifications");
        actionOf(2, "Notify about preview-*");
        QCOMPARE(
            environments.choices().rules, (QList<EnvironmentRule>{{text("preview-*"), EnvironmentChoice::Notify}}));
    }

    // Refreshes

    void selectionAndFocusSurviveARefresh()
    {
        show({snapshot(text("a"), DeploymentState::InProgress), snapshot(text("b"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        QCOMPARE(currentID(), text("a"));
        m_view->setDeployments({snapshot(text("n"), DeploymentState::Queued),
            snapshot(text("a"), DeploymentState::Failure), snapshot(text("b"), DeploymentState::Success)});
        QCOMPARE(currentID(), text("a"));
        QCOMPARE(m_view->selectionModel()->selectedIndexes(), QModelIndexList{m_view->currentIndex()});
    }

    void whenTheCurrentRowGoesAnotherIsCurrent()
    {
        show({snapshot(text("a"), DeploymentState::InProgress), snapshot(text("b"), DeploymentState::Success),
            snapshot(text("c"), DeploymentState::Success)});
        takeFocus(Qt::TabFocusReason);
        m_view->setDeployments(
            {snapshot(text("b"), DeploymentState::Success), snapshot(text("c"), DeploymentState::Success)});
        QCOMPARE(currentID(), text("b"));
        m_view->setDeployments({});
        QVERIFY(!m_view->currentIndex().isValid());
    }

    void aCurrentRowThatGoesOutOfSightScrollsNothing()
    {
        auto list = finished(100);
        show(list);
        takeFocus(Qt::TabFocusReason);
        press(Qt::Key_End);
        m_view->verticalScrollBar()->setValue(0);
        list.removeLast();
        m_view->setDeployments(list);
        QCOMPARE(currentID(), text("98"));
        QCOMPARE(m_view->verticalScrollBar()->value(), 0);
    }

    void whatIsSeenStaysWhereItIsWhenRowsComeAbove()
    {
        auto list = finished(100);
        show(list);
        m_view->verticalScrollBar()->setValue(1003);
        const auto seen = m_view->indexAt(QPoint(50, 100));
        const QPersistentModelIndex kept = seen;
        const QRect place = m_view->visualRect(seen);
        list.prepend(snapshot(text("new"), DeploymentState::Success));
        list.prepend(snapshot(text("newer"), DeploymentState::Failure));
        list.move(40, 0);
        m_view->setDeployments(list);
        QCOMPARE(m_view->visualRect(kept), place);
        // This also holds if a visible row moves away.
        list.move(list.size() - 1, 0);
        m_view->setDeployments(list);
        QCOMPARE(m_view->visualRect(kept), place);
    }

    void whoIsAtTheTopSeesWhatIsNew()
    {
        auto list = finished(100);
        show(list);
        list.prepend(snapshot(text("new"), DeploymentState::Success));
        m_view->setDeployments(list);
        QCOMPARE(m_view->verticalScrollBar()->value(), 0);
        QCOMPARE(model()->deployment(m_view->indexAt(rowPoint(1)).row())->id, text("new"));
    }

    void aShorterListCannotBeScrolledPastItsEnd()
    {
        show(finished(100));
        m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
        m_view->setDeployments(finished(3));
        QCOMPARE(m_view->verticalScrollBar()->maximum(), 0);
        QVERIFY(m_view->viewport()->rect().contains(m_view->visualRect(index(1))));
    }

    void onlyWhatChangedIsPainted()
    {
        auto list = finished(1000);
        show(list);
        PaintLog log(m_view->viewport());
        change(list[999], [](DeploymentSnapshot &deployment) { deployment.updatedAt += 1s; });
        m_view->setDeployments(list);
        drainEvents();
        QVERIFY(log.painted.isEmpty());
        change(list[2], [](DeploymentSnapshot &deployment) { deployment.statusDescription = text("changed"); });
        m_view->setDeployments(list);
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(3))));
        // The same list again paints nothing.
        log.painted = {};
        const auto copy = DeploymentList(list.begin(), list.end());
        m_view->setDeployments(copy);
        drainEvents();
        QVERIFY(log.painted.isEmpty());
    }

    void aFailureThatIsMendedIsPaintedAndSaysSo()
    {
        const DeploymentList list{
            snapshot(text("a"), DeploymentState::Failure), snapshot(text("b"), DeploymentState::Failure)};
        show(list);
        PaintLog log(m_view->viewport());
        m_view->setDeployments(list, {{text("b"), FailureMark{Mending{text("c"), noon() - 30s}}}});
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(2))));
        const auto sentence = [this](int row) {
            return index(row).data(Qt::AccessibleTextRole).toString();
        };
        QVERIFY2(sentence(2).endsWith(text(", mended 30 seconds ago")), qPrintable(sentence(2)));
        QVERIFY2(!sentence(1).contains(text("mended")), qPrintable(sentence(1)));
        QVERIFY(index(2).data(Qt::ToolTipRole).toString().contains(text("mended 30 seconds ago")));
        // Its time is kept up to date.
        log.painted = {};
        m_clock->advance(1s);
        drainEvents();
        QVERIFY(log.painted.contains(m_view->visualRect(index(2))));
    }

    void aFailureThatDoesNotCountIsDrawnQuietlyAndLeftOutOfTheTitle()
    {
        const DeploymentList list{
            snapshot(text("a"), DeploymentState::Failure), snapshot(text("b"), DeploymentState::Failure)};
        show(list);
        const auto hasRed = [this] {
            const QImage image = m_view->viewport()->grab(m_view->visualRect(index(1))).toImage();
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QColor colour = image.pixelColor(x, y);
                    if (colour.red() > colour.green() + 60 && colour.red() > colour.blue() + 60)
                        return true;
                }
            }
            return false;
        };
        QVERIFY(hasRed());
        QCOMPARE(index(0).data(Qt::AccessibleTextRole).toString(), text("Failed, 2"));
        PaintLog log(m_view->viewport());
        m_view->setDeployments(list, {{text("a"), FailureMark{std::nullopt, false}}});
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(0))) + m_view->visualRect(index(1)));
        QVERIFY(!hasRed());
        QCOMPARE(index(0).data(Qt::AccessibleTextRole).toString(), text("Failed, 1"));
    }

    // Ages

    void agesStayTrueWithoutPaintingWhatDidNotChange()
    {
        show({snapshot(text("a"), DeploymentState::Success, noon() - 10min),
            snapshot(text("b"), DeploymentState::Success, noon() - 10min - 30s),
            snapshot(text("c"), DeploymentState::Success, noon() - 2h - 10min)});
        QCOMPARE(m_clock->sleeperCount(), 1);
        PaintLog log(m_view->viewport());
        m_clock->advance(29s);
        drainEvents();
        QVERIFY(log.painted.isEmpty());
        m_clock->advance(1s);
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(2))));
        log.painted = {};
        m_clock->advance(30s);
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(1))));
        QCOMPARE(m_clock->sleeperCount(), 1);
    }

    void theElapsedTimeOfWhatIsUnderWayStaysTrue()
    {
        auto queued = snapshot(text("a"), DeploymentState::Queued, noon() - 10min);
        queued.createdAt = noon() - 20min - 50s;
        show({queued, snapshot(text("b"), DeploymentState::Success, noon() - 10min)});
        PaintLog log(m_view->viewport());
        m_clock->advance(9s);
        drainEvents();
        QVERIFY(log.painted.isEmpty());
        m_clock->advance(1s);
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(1))));
    }

    void oneWaitServesManyRows()
    {
        show(finished(1000, noon() - 1s));
        QCOMPARE(m_clock->sleeperCount(), 1);
        QCOMPARE(m_clock->requestedSleeps.size(), 1);
        m_view->verticalScrollBar()->setValue(500);
        m_view->verticalScrollBar()->setValue(900);
        QCOMPARE(m_clock->requestedSleeps.size(), 1);
    }

    void nobodyWaitsWhileTheListIsHidden()
    {
        m_view->setDeployments(finished(3));
        QCOMPARE(m_clock->sleeperCount(), 0);
        show(finished(3));
        QCOMPARE(m_clock->sleeperCount(), 1);
        m_view->hide();
        drainEvents();
        QCOMPARE(m_clock->sleeperCount(), 0);
        m_view->setDeployments(finished(4));
        QCOMPARE(m_clock->sleeperCount(), 0);
        m_view->show();
        QCOMPARE(m_clock->sleeperCount(), 1);
        m_view->setDeployments({});
        drainEvents();
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void aClockThatIsSetBackIsNoTrouble()
    {
        show(finished(1, noon() - 3h));
        PaintLog log(m_view->viewport());
        m_clock->setNow(noon() - 2h);
        m_clock->wakeAll();
        drainEvents();
        QCOMPARE(log.painted, QRegion(m_view->visualRect(index(1))));
    }

    // Motion

    void iconsTurnOnlyWhileSomethingInProgressIsSeen()
    {
        auto list = finished(50);
        show(list);
        QVERIFY(!m_view->isTurning());
        list.prepend(snapshot(text("q"), DeploymentState::Queued));
        m_view->setDeployments(list);
        QVERIFY(!m_view->isTurning());
        change(list[0], [](DeploymentSnapshot &deployment) { deployment.state = DeploymentState::InProgress; });
        m_view->setDeployments(list);
        QVERIFY(m_view->isTurning());
        m_view->verticalScrollBar()->setValue(1000);
        QVERIFY(!m_view->isTurning());
        m_view->verticalScrollBar()->setValue(0);
        QVERIFY(m_view->isTurning());
        m_view->hide();
        QVERIFY(!m_view->isTurning());
        m_view->show();
        QVERIFY(m_view->isTurning());
        change(list[0], [](DeploymentSnapshot &deployment) { deployment.state = DeploymentState::Success; });
        m_view->setDeployments(list);
        QVERIFY(!m_view->isTurning());
    }

    void onlyTheIconIsPaintedWhenItTurns()
    {
        show({snapshot(text("a"), DeploymentState::InProgress), snapshot(text("b"), DeploymentState::Waiting)});
        const QImage before = picture();
        PaintLog log(m_view->viewport());
        QVERIFY(waitUntil([&] { return !log.painted.isEmpty(); }));
        const QRect row = m_view->visualRect(index(1));
        QVERIFY(row.contains(log.painted.boundingRect()));
        QCOMPARE(log.painted.boundingRect().size(), QSize(16, 16));
        QVERIFY(picture() != before);
    }

    void nothingTurnsWhereTheDesktopWantsNoMotion()
    {
        StillStyle still;
        m_view->setStyle(&still);
        show({snapshot(text("a"), DeploymentState::InProgress)});
        QVERIFY(!m_view->isTurning());
        m_view->setStyle(nullptr);
        QVERIFY(m_view->isTurning());
    }

    // Positions

    void twentyThousandRowsAreWhereTheyAreSaidToBe()
    {
        show(finished(20'000));
        auto *bar = m_view->verticalScrollBar();
        QCOMPARE(m_view->visualRect(index(20'000)).bottom() + 5, bar->maximum() + m_view->viewport()->height());
        for (const int offset : {0, 1, 4711, bar->maximum() / 2, bar->maximum()}) {
            bar->setValue(offset);
            const QModelIndex found = m_view->indexAt(QPoint(10, 180));
            QVERIFY(m_view->visualRect(found).contains(QPoint(10, 180)));
        }
        m_view->scrollTo(index(12'345), QAbstractItemView::PositionAtTop);
        QCOMPARE(m_view->visualRect(index(12'345)).top(), 0);
        m_view->scrollTo(index(12'345), QAbstractItemView::PositionAtBottom);
        QCOMPARE(m_view->visualRect(index(12'345)).bottom() + 1, m_view->viewport()->height());
        m_view->scrollTo(index(12'345), QAbstractItemView::PositionAtCenter);
        QVERIFY(m_view->visualRect(index(12'345)).contains(QPoint(10, m_view->viewport()->height() / 2)));
        QVERIFY(!m_view->visualRect(QModelIndex()).isValid());
    }

    // Assistive technology

    void assistiveTechnologyReadsRowsAsSentences()
    {
        show({snapshot(text("a"), DeploymentState::Failure)});
        auto *list = QAccessible::queryAccessibleInterface(m_view.get());
        QVERIFY(list);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->text(QAccessible::Name), text("Deployments"));
        QCOMPARE(list->childCount(), 2);
        QCOMPARE(list->child(0)->text(QAccessible::Name), text("Failed, 1"));
        QCOMPARE(list->child(1)->text(QAccessible::Name), text("acme/web, production, failed, 0123456, now"));
        QCOMPARE(list->child(1)->rect().size(), m_view->visualRect(index(1)).size());
        const QPoint point = m_view->viewport()->mapToGlobal(rowPoint(1));
        QCOMPARE(list->childAt(point.x(), point.y())->text(QAccessible::Name),
            text("acme/web, production, failed, 0123456, now"));
    }

    void assistiveTechnologyDoesWhatAClickAndTheMenuDo()
    {
        auto deployment = snapshot(text("a"), DeploymentState::Failure);
        deployment.logURL = WebAddress(text("https://ci.example/log"));
        deployment.environmentURL = WebAddress(text("https://acme.example"));
        show({deployment});
        auto *list = QAccessible::queryAccessibleInterface(m_view.get());
        auto *row = list->child(1)->actionInterface();
        QCOMPARE(row->actionNames(),
            (QStringList{QAccessibleActionInterface::pressAction(), text("Open environment"), text("Copy commit ID"),
                text("Copy link to log"), text("Copy link to environment"), text("Dismiss")}));
        QCOMPARE(row->localizedActionDescription(QAccessibleActionInterface::pressAction()), text("Open log"));
        row->doAction(QAccessibleActionInterface::pressAction());
        row->doAction(text("Open environment"));
        drainEvents();
        QCOMPARE(m_opener->opened, (QStringList{text("https://ci.example/log"), text("https://acme.example")}));
        QVERIFY(!list->child(1)->state().selected);
        const QSignalSpy chosen(m_view.get(), &DeploymentListView::dismissalChosen);
        row->doAction(text("Dismiss"));
        QCOMPARE(list->child(0)->actionInterface()->actionNames(), QStringList(text("Dismiss all")));
        list->child(0)->actionInterface()->doAction(text("Dismiss all"));
        QCOMPARE(chosen.size(), 0);
        drainEvents();
        QCOMPARE(chosen.size(), 2);
        m_view->setDeployments({snapshot(text("b"), DeploymentState::Success)});
        QVERIFY(list->child(0)->actionInterface()->actionNames().isEmpty());
    }

    void assistiveTechnologyKeepsARowThatMovesAndLosesOneThatGoes()
    {
        show({snapshot(text("a"), DeploymentState::Failure), snapshot(text("b"), DeploymentState::Failure)});
        auto *list = QAccessible::queryAccessibleInterface(m_view.get());
        auto *second = list->child(2);
        const auto first = QAccessible::uniqueId(list->child(1));
        QCOMPARE(list->child(2), second);
        QCOMPARE(list->indexOfChild(second), 2);
        m_view->setDeployments({snapshot(text("b"), DeploymentState::Failure)});
        QCOMPARE(list->childCount(), 2);
        QCOMPARE(list->indexOfChild(second), 1);
        QVERIFY(!QAccessible::accessibleInterface(first));
    }

private:
    [[nodiscard]] DeploymentListModel *model() const { return qobject_cast<DeploymentListModel *>(m_view->model()); }
    [[nodiscard]] QModelIndex index(int row) const { return m_view->model()->index(row, 0); }
    [[nodiscard]] QPoint rowPoint(int row) const { return m_view->visualRect(index(row)).center(); }
    [[nodiscard]] QPoint linkPoint(int row) const
    {
        const QRect place = m_view->visualRect(index(row));
        return {place.right() - 20, place.center().y()};
    }
    [[nodiscard]] QString currentID() const
    {
        const auto *deployment = model()->deployment(m_view->currentIndex().row());
        return deployment ? deployment->id : QString();
    }

    /// The failures "a" and "b", and a success "c".
    DeploymentList showFailures()
    {
        const DeploymentList list{snapshot(text("a"), DeploymentState::Failure),
            snapshot(text("b"), DeploymentState::Error), snapshot(text("c"), DeploymentState::Success)};
        show(list);
        return list;
    }
    void show(const DeploymentList &deployments)
    {
        m_shown = deployments;
        m_view->setDeployments(deployments);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        drainEvents();
    }
    /// Hides these beside what is shown.
    void hide(const DeploymentList &hidden) { m_view->setDeployments(m_shown, {}, {hidden, {}}); }
    void takeFocus(Qt::FocusReason reason)
    {
        m_view->clearFocus();
        m_view->setFocus(reason);
    }
    void click(const QPoint &point) { QTest::mouseClick(m_view->viewport(), Qt::LeftButton, {}, point); }
    void move(const QPoint &point)
    {
        // QTest would move the pointer of the platform, which has none here.
        QMouseEvent event(QEvent::MouseMove, point, m_view->viewport()->mapToGlobal(QPointF(point)), Qt::NoButton,
            Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(m_view->viewport(), &event);
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(m_view.get(), key, modifiers); }
    [[nodiscard]] QImage picture() { return m_view->grab().toImage(); }

    QMenu *openMenu(const QPoint &point)
    {
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, m_view->viewport()->mapToGlobal(point));
        QCoreApplication::sendEvent(m_view->viewport(), &event);
        return m_view->findChild<QMenu *>();
    }
    void closeMenu(QMenu *menu)
    {
        menu->close();
        drainEvents();
        QVERIFY(!m_view->findChild<QMenu *>());
    }

    /// The tooltip's text as it is shown.
    QString toolTip(const QPoint &point)
    {
        QHelpEvent event(QEvent::ToolTip, point, m_view->viewport()->mapToGlobal(point));
        QCoreApplication::sendEvent(m_view->viewport(), &event);
        QTextDocument document;
        document.setHtml(QToolTip::isVisible() ? QToolTip::text() : QString());
        const QString shown = document.toPlainText();
        QToolTip::hideText();
        [[maybe_unused]] const bool isGone = waitUntil([] { return !QToolTip::isVisible(); });
        return shown;
    }

    std::unique_ptr<FakeClock> m_clock;
    std::unique_ptr<FakeURLOpener> m_opener;
    std::unique_ptr<FakePasteboard> m_pasteboard;
    DeploymentList m_shown;
    std::unique_ptr<DeploymentListView> m_view;
};

VELMORA_WIDGET_TEST(DeploymentListViewTest)
#include "deployment_list_view_test.moc"
