// SPDX-License-Identifier: MIT
#include "ui/window/framed_window.h"

#include "support/test_main.h"
#include "ui/window/title_bar.h"

#include <QLabel>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

using namespace velmora;

namespace
{

/// A window with a label.
class Window final : public FramedWindow
{
    Q_OBJECT

public:
    explicit Window(Frame frame)
        : FramedWindow(frame)
    {
        contentLayout()->addWidget(&m_content);
        setWindowTitle(QStringLiteral("Velmora Settings"));
    }

    using FramedWindow::setEdge;
    using FramedWindow::setFrame;
    [[nodiscard]] TitleBar *titleBar() const { return findChild<TitleBar *>(); }
    [[nodiscard]] QPoint contentPlace() const { return m_content.pos(); }

private:
    QLabel m_content{QStringLiteral("the content")};
};

} // namespace

class FramedWindowTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldLeaveTheFrameToTheDesktopWhereItDrawsOne()
    {
        Window window(FramedWindow::frameOfPlatform());
        window.show();
        QCOMPARE(window.frame(), FramedWindow::Frame::Desktop);
        QVERIFY(!window.windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(!window.titleBar());
        QCOMPARE(window.contentPlace(), QPoint(0, 0));
    }

    void shouldHaveATitleBarAboveItsContentWhereTheDesktopDrawsNoFrame()
    {
        Window window(FramedWindow::Frame::Window);
        window.show();
        QVERIFY(window.windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(window.titleBar()->isVisible());
        QCOMPARE(window.contentPlace(), QPoint(1, 1 + window.titleBar()->height()));
        QCOMPARE(window.titleBar()->findChild<QLabel *>()->text(), QStringLiteral("Velmora Settings"));
        window.setWindowTitle(QStringLiteral("Another title"));
        QCOMPARE(window.titleBar()->findChild<QLabel *>()->text(), QStringLiteral("Another title"));
    }

    void shouldBeClosedByTheButtonInItsTitleBarWhichTheTabKeyPassesBy()
    {
        Window window(FramedWindow::Frame::Window);
        window.show();
        auto *const close = window.titleBar()->findChild<QToolButton *>();
        QCOMPARE(close->accessibleName(), QStringLiteral("Close"));
        QCOMPARE(close->focusPolicy(), Qt::NoFocus);
        QTest::mouseClick(close, Qt::LeftButton);
        QVERIFY(!window.isVisible());
    }

    void shouldShowItsTitleInTheMiddle()
    {
        Window window(FramedWindow::Frame::Window);
        window.resize(500, 200);
        window.show();
        const auto *const title = window.titleBar()->findChild<QLabel *>();
        const QRect place(title->mapTo(&window, QPoint()), title->size());
        QCOMPARE(place.left() + place.right(), window.width() - 1);
        QVERIFY(title->alignment().testFlag(Qt::AlignHCenter));
    }

    void shouldHaveNothingButABorderWithoutAFrame()
    {
        Window window(FramedWindow::Frame::Window);
        window.setFrame(FramedWindow::Frame::None, Qt::Window | Qt::FramelessWindowHint);
        window.show();
        QVERIFY(!window.titleBar());
        QCOMPARE(window.contentPlace(), QPoint(1, 1));
        const QImage picture = window.grab().toImage();
        QVERIFY(picture.pixelColor(0, 0) != picture.pixelColor(1, 1));
    }

    void shouldLeaveRoomForAShadowThatShowsWhatIsBehind()
    {
        Window window(FramedWindow::Frame::None);
        window.setEdge(WindowEdge::soft(12));
        window.show();
        QVERIFY(window.testAttribute(Qt::WA_TranslucentBackground));
        const QMargins margins = WindowEdge::soft(12).margins();
        QCOMPARE(window.contentPlace(), QPoint(margins.left(), margins.top()));
        const QImage picture = window.grab().toImage();
        QCOMPARE(picture.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(picture.pixelColor(window.rect().center()).alpha(), 255);
    }

    void shouldBeOpaqueAgainWhereTheDesktopNoLongerBlends()
    {
        Window window(FramedWindow::Frame::None);
        window.setEdge(WindowEdge::soft(12));
        window.setFrame(FramedWindow::Frame::None, Qt::Window | Qt::FramelessWindowHint);
        window.show();
        QVERIFY(!window.testAttribute(Qt::WA_TranslucentBackground));
        QVERIFY(!window.testAttribute(Qt::WA_NoSystemBackground));
        QCOMPARE(window.contentPlace(), QPoint(1, 1));
    }
};

VELMORA_WIDGET_TEST(FramedWindowTest)
#include "framed_window_test.moc"
