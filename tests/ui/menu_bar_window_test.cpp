// SPDX-License-Identifier: MIT
#include "ui/window/menu_bar_window.h"

#include "support/test_main.h"

#include <QAccessible>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace velmora;
using namespace std::chrono_literals;

namespace
{

/// Content whose size the test sets.
class Content final : public QWidget
{
    Q_OBJECT

public:
    [[nodiscard]] QSize sizeHint() const override { return m_wanted; }
    void want(QSize size)
    {
        m_wanted = size;
        updateGeometry();
    }

private:
    QSize m_wanted{360, 400};
};

/// Content that needs more height if it is narrower.
class FlowingContent final : public QWidget
{
    Q_OBJECT

public:
    FlowingContent()
    {
        QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
        policy.setHeightForWidth(true);
        setSizePolicy(policy);
    }
    [[nodiscard]] QSize sizeHint() const override { return {360, 100}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override { return 360 * 200 / width; }
};

constexpr QPoint kItem(400, 10);

} // namespace

class MenuBarWindowTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_now = DismissalRule::Time(1h);
        make(MenuBarWindow::Placement::AtItem);
    }
    void cleanup()
    {
        m_window.reset();
        qunsetenv("XDG_ACTIVATION_TOKEN");
    }

    void shouldOpenAtTheItemInTheSizeOfItsContent()
    {
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
        QCOMPARE(m_window->size(), QSize(362, 402));
        QVERIFY(screenArea().contains(m_window->geometry()));
        QVERIFY(!m_window->geometry().contains(kItem));
        QVERIFY(std::abs(m_window->geometry().center().x() - kItem.x()) <= 1);
        QCOMPARE(m_content->geometry(), QRect(1, 1, 360, 400));
    }

    void shouldBeAWindowToAssistiveTechnology()
    {
        QCOMPARE(QAccessible::queryAccessibleInterface(m_window.get())->role(), QAccessible::Window);
    }

    void shouldGrowAndShrinkWithItsContentWhereItStands()
    {
        const QPoint low(400, screenArea().bottom());
        m_window->open(low, QString());
        const int bottom = m_window->geometry().bottom();
        m_content->want({360, 200});
        QTRY_COMPARE(m_window->size(), QSize(362, 202));
        QCOMPARE(m_window->geometry().bottom(), bottom);
        m_content->want({360, 5000});
        QTRY_COMPARE(m_window->height(), screenArea().height());
        QVERIFY(screenArea().contains(m_window->geometry()));
    }

    void shouldAskFlowingContentForItsHeight()
    {
        m_window = std::make_unique<MenuBarWindow>(new FlowingContent, MenuBarWindow::Placement::ByCompositor);
        m_window->open(std::nullopt, QString());
        QCOMPARE(m_window->size(), QSize(362, 202));
    }

    void shouldCloseOnASecondClickAtTheItemAndOpenOnTheNext()
    {
        QCursor::setPos(kItem);
        openAndActivate();
        m_window->toggle(kItem, QString());
        QVERIFY(!m_window->isVisible());
        // Closing took the focus, but that must not count as a click.
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
    }

    void shouldOpenAgainWhenTheFrameClosedIt()
    {
        m_window->open(kItem, QString());
        m_window->close();
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
    }

    void shouldGiveBackItsMemoryAMinuteAfterItClosed()
    {
        auto *const unused = m_window->findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
        QVERIFY(unused && !unused->isActive());
        QCOMPARE(unused->intervalAsDuration(), 1min);
        openAndActivate();
        const QRect place = m_window->geometry();
        m_window->close();
        QVERIFY(unused->isActive());
        m_window->open(kItem, QString());
        QVERIFY(!unused->isActive());
        m_window->close();
        unused->start(0);
        QTRY_VERIFY(!m_window->windowHandle());
        QVERIFY(!unused->isActive());
        openAndActivate();
        QCOMPARE(m_window->geometry(), place);
        QVERIFY(!m_window->grab().isNull());
    }

    void shouldOpenAtOnceAfterItClosedOtherwiseThanByLosingTheFocus()
    {
        openAndActivate();
        m_window->toggle(kItem, QString());
        QVERIFY(!m_window->isVisible());
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QTest::keyClick(m_window.get(), Qt::Key_Escape);
        QVERIFY(!m_window->isVisible());
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
    }

    void shouldCloseOnEscape()
    {
        auto *const input = new QLineEdit(m_content);
        openAndActivate();
        input->setFocus();
        QTest::keyClick(input, Qt::Key_Escape, Qt::ShiftModifier);
        QVERIFY(m_window->isVisible());
        QTest::keyClick(input, Qt::Key_Escape);
        QVERIFY(!m_window->isVisible());
    }

    void shouldPassOtherKeysOn()
    {
        openAndActivate();
        QTest::keyClick(m_window.get(), Qt::Key_A);
        QVERIFY(m_window->isVisible());
    }

    void shouldCloseWhenThePersonTurnsToAnotherWindow()
    {
        openAndActivate();
        turnToAnotherWindow();
        QTRY_VERIFY(!m_window->isVisible());
    }

    void shouldNotOpenByTheClickThatClosedIt()
    {
        QCursor::setPos(kItem);
        openAndActivate();
        turnToAnotherWindow(); // like a panel that takes the focus on the press
        QTRY_VERIFY(!m_window->isVisible());
        m_now += 200ms;
        m_window->toggle(kItem, QString()); // on the release
        QVERIFY(!m_window->isVisible());
        m_now += 200ms;
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
    }

    void shouldOpenByALaterClick()
    {
        QCursor::setPos(kItem);
        openAndActivate();
        turnToAnotherWindow();
        QTRY_VERIFY(!m_window->isVisible());
        m_now += 3s;
        m_window->toggle(kItem, QString());
        QVERIFY(m_window->isVisible());
    }

    void shouldOpenFromTheMenuWhateverClosedIt()
    {
        openAndActivate();
        turnToAnotherWindow();
        QTRY_VERIFY(!m_window->isVisible());
        m_window->open(std::nullopt, QString());
        QVERIFY(m_window->isVisible());
    }

    void shouldStayOpenBehindADialogOfItsOwn()
    {
        openAndActivate();
        QDialog dialog(m_window.get());
        dialog.show();
        dialog.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QVERIFY(m_window->isVisible());
    }

    void shouldStayOpenBehindAMenuOfItsOwn()
    {
        openAndActivate();
        QMenu menu(m_window.get());
        menu.addAction(QStringLiteral("Copy"));
        menu.popup(kItem);
        QEvent deactivated(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(m_window.get(), &deactivated);
        QVERIFY(m_window->isVisible());
        menu.close();
    }

    void shouldStayOpenWhileTheDesktopAsksForAPasswordAndTakeTheFocusBack()
    {
        openAndActivate();
        QEnterEvent entered(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
        QCoreApplication::sendEvent(m_window.get(), &entered);
        m_window->setAwaitingAnswer(true);
        turnToAnotherWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_other.get()));
        QVERIFY(m_window->isVisible());
        m_window->setAwaitingAnswer(false);
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_now += 3s;
        turnToAnotherWindow();
        QTRY_VERIFY(!m_window->isVisible());
    }

    void shouldGiveWayToAnotherWindowIfThereIsAnItem()
    {
        openAndActivate();
        m_window->setHasItem(false);
        m_window->giveWay();
        QVERIFY(m_window->isVisible());
        m_window->setHasItem(true);
        m_window->giveWay();
        QVERIFY(!m_window->isVisible());
    }

    void shouldStayOpenWhileThePointerIsOnItsWay()
    {
        QCursor::setPos(screenArea().bottomRight());
        make(MenuBarWindow::Placement::ByCompositor);
        openAndActivate();
        turnToAnotherWindow(); // that the pointer crosses, where focus follows the pointer
        QVERIFY(QTest::qWaitForWindowActive(m_other.get()));
        QVERIFY(m_window->isVisible());
        QEnterEvent entered(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
        QCoreApplication::sendEvent(m_window.get(), &entered);
        QEvent deactivated(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(m_window.get(), &deactivated);
        QVERIFY(!m_window->isVisible());
    }

    void shouldComeToTheFrontWhenItIsOpenedAgain()
    {
        openAndActivate();
        const QRect before = m_window->geometry();
        m_window->open(QPoint(5, 500), QString());
        QVERIFY(m_window->isVisible());
        QCOMPARE(m_window->geometry(), before);
    }

    void shouldTakeAPlaceOnNoScreenForNone()
    {
        m_window->open(QPoint(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()), QString());
        QVERIFY(screenArea().contains(m_window->geometry()));
        QEvent deactivated(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(m_window.get(), &deactivated);
        QVERIFY(!m_window->isVisible());
    }

    void shouldLeaveNoTokenBehind()
    {
        m_window->open(kItem, QStringLiteral("token"));
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void shouldBePlainAndOfOneSizeWhereTheCompositorPlacesIt()
    {
        make(MenuBarWindow::Placement::ByCompositor);
        m_window->open(kItem, QString());
        QCOMPARE(m_window->minimumSize(), QSize(362, 402));
        QCOMPARE(m_window->maximumSize(), QSize(362, 402));
        QVERIFY(m_window->windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(m_window->windowType(), Qt::Window);
    }

    void shouldHaveAnEdgeOfItsOwnWhereItHasNoFrame()
    {
        m_window->open(kItem, QString());
        QVERIFY(m_window->windowFlags().testFlag(Qt::FramelessWindowHint));
        const QImage image = m_window->grab().toImage();
        QVERIFY(image.pixel(0, 0) != image.pixel(20, 20));
        QCOMPARE(image.pixel(0, 0), image.pixel(image.width() - 1, image.height() - 1));
    }

    void shouldBeAnOrdinaryWindowWhereThereIsNoItem()
    {
        m_window->setHasItem(false);
        m_window->open(std::nullopt, QString());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QVERIFY(!m_window->windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(!m_window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QCOMPARE(m_window->size(), QSize(360, 400));
        turnToAnotherWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_other.get()));
        QVERIFY(m_window->isVisible());
        QTest::keyClick(m_window.get(), Qt::Key_Escape);
        QVERIFY(!m_window->isVisible());
        m_window->setHasItem(true);
        m_window->open(kItem, QString());
        QVERIFY(m_window->windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(m_window->size(), QSize(362, 402));
    }

    void shouldLeaveTitleAndCloseButtonToItsContentWhereTheDesktopDrawsNoFrame()
    {
        using Frame = FramedWindow::Frame;
        make(MenuBarWindow::Placement::ByCompositor, Frame::Window);
        QList<Frame> frames;
        connect(m_window.get(), &MenuBarWindow::frameChanged, this, [&](Frame frame) { frames.append(frame); });
        m_window->setHasItem(false);
        m_window->open(std::nullopt, QString());
        QCOMPARE(frames, QList{Frame::Window});
        QVERIFY(m_window->windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(m_window->size(), QSize(362, 402));
        m_window->close();
        m_window->setHasItem(true);
        m_window->open(std::nullopt, QString());
        QCOMPARE(frames, (QList{Frame::Window, Frame::None}));
    }

    void shouldPlaceItselfOnlyOnX11()
    {
        QCOMPARE(MenuBarWindow::placementOfPlatform(), MenuBarWindow::Placement::ByCompositor);
    }

private:
    void make(MenuBarWindow::Placement placement, MenuBarWindow::Frame frame = MenuBarWindow::Frame::Desktop)
    {
        m_content = new Content;
        m_window = std::make_unique<MenuBarWindow>(
            m_content, placement, [this] { return m_now; }, frame);
        m_other = std::make_unique<QWidget>();
    }
    void openAndActivate()
    {
        m_window->open(kItem, QString());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }
    void turnToAnotherWindow()
    {
        m_other->show();
        m_other->activateWindow();
    }
    [[nodiscard]] static QRect screenArea() { return QGuiApplication::primaryScreen()->availableGeometry(); }

    DismissalRule::Time m_now;
    Content *m_content = nullptr;
    std::unique_ptr<MenuBarWindow> m_window;
    std::unique_ptr<QWidget> m_other;
};

VELMORA_WIDGET_TEST(MenuBarWindowTest)
#include "menu_bar_window_test.moc"
