// SPDX-License-Identifier: MIT
#include "platform/status_notifier_item.h"
#include "platform/x11_display.h"
#include "running_panel.h"
#include "support/await.h"
#include "support/test_main.h"
#include "ui/window/menu_bar_window.h"

#include <QApplication>
#include <QImage>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace velmora;
using namespace velmora::testing;

namespace
{

constexpr QRgb kColour = qRgb(0xff, 0x00, 0xd5);

/// A window of this program that does not belong to the window behind the item.
class OtherWindow final : public QWidget
{
public:
    OtherWindow()
    {
        setGeometry(500, 450, 300, 200);
        show();
    }
};

} // namespace

/// Says that a compositor runs, as long as it lives.
class Compositor final : public QWindow
{
public:
    Compositor() { announce(static_cast<xcb_window_t>(winId())); }
    ~Compositor() override { announce(XCB_WINDOW_NONE); }

private:
    static void announce(xcb_window_t owner)
    {
        xcb_connection_t *const display = x11Connection();
        xcb_set_selection_owner(display, owner, x11Atom(display, "_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    }
};

/// Tests the window behind the item with real panels and a real window manager.
class WindowAtItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_windowManager = std::make_unique<RunningPanel>(QStringLiteral("openbox"));
        m_windowManager->start();
    }
    void cleanup()
    {
        m_window.reset();
        m_item.reset();
        m_panel.reset();
        drainEvents();
    }

    void shouldStandBelowThePanelAndHaveTheFocus_data() { addPanels(); }
    void shouldStandBelowThePanelAndHaveTheFocus()
    {
        startAll();
        clickAt(m_place);
        QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        const QScreen *const screen = QGuiApplication::primaryScreen();
        QVERIFY(waitUntil([this, screen] { return screen->availableGeometry().contains(m_window->geometry()); }));
        QVERIFY(screen->availableGeometry().top() > 0);
        QCOMPARE(m_window->geometry().top(), screen->availableGeometry().top());
        QCOMPARE(m_window->geometry().left(), screen->availableGeometry().left());
    }

    void shouldStandOffThePanelWithAShadowWhereACompositorRuns_data() { addPanels(); }
    void shouldStandOffThePanelWithAShadowWhereACompositorRuns()
    {
        const Compositor compositor;
        startAll();
        clickAt(m_place);
        QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        const WindowEdge edge = WindowEdge::ofDesktop();
        QVERIFY(edge.isSoft());
        const QScreen *const screen = QGuiApplication::primaryScreen();
        const auto corner = [&] {
            return m_window->geometry().marginsRemoved(edge.shadow()).topLeft();
        };
        const QPoint wanted = screen->availableGeometry().topLeft() + QPoint(edge.gap(), edge.gap());
        QVERIFY(waitUntil([&] { return corner() == wanted; }));
        drainEvents();
        QCOMPARE(corner(), wanted);
    }

    void shouldLeaveClicksAtItsShadowToWhatIsBehind()
    {
        const Compositor compositor;
        makeItem();
        OtherWindow other;
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        m_window->open(other.geometry().topLeft(), QString());
        QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        const QRect inside = m_window->geometry().marginsRemoved(WindowEdge::ofDesktop().shadow());
        QCOMPARE(QApplication::topLevelAt(inside.center()), m_window.get());
        const QPoint beside(inside.right() + 4, inside.bottom() - 20);
        QVERIFY(m_window->geometry().contains(beside));
        QVERIFY(QApplication::topLevelAt(beside) != m_window.get());
        clickAt(beside);
        QVERIFY(waitUntil([this] { return !m_window->isVisible(); }));
    }

    void shouldCloseOnTheSecondClickAndOpenOnTheThird_data() { addPanels(); }
    void shouldCloseOnTheSecondClickAndOpenOnTheThird()
    {
        startAll();
        QSignalSpy clicks(m_item.get(), &StatusItem::activated);
        for (int click = 1; click <= 3; ++click) {
            clickAt(m_place);
            QVERIFY(waitUntil([&] { return clicks.size() == click; }));
            drainEvents();
            QCOMPARE(m_window->isVisible(), click % 2 == 1);
            if (m_window->isVisible())
                QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        }
    }

    void shouldCloseOnAClickAtAnotherWindow_data() { addPanels(); }
    void shouldCloseOnAClickAtAnotherWindow()
    {
        startAll();
        OtherWindow other;
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        clickAt(m_place);
        QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        clickAt(other.geometry().center());
        QVERIFY(waitUntil([this] { return !m_window->isVisible(); }));
        // That click must not count as one at the item.
        clickAt(m_place);
        QVERIFY(waitUntil([this] { return m_window->isVisible(); }));
    }

    void shouldCloseOnEscape_data() { addPanels(); }
    void shouldCloseOnEscape()
    {
        startAll();
        clickAt(m_place);
        QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        pressKey(QStringLiteral("Escape"));
        QVERIFY(waitUntil([this] { return !m_window->isVisible(); }));
    }

    void shouldStandInTheCornerWhenOpenedFromElsewhere()
    {
        const QScreen *const screen = QGuiApplication::primaryScreen();
        QVERIFY(waitUntil([screen] { return screen->availableGeometry() == screen->geometry(); }));
        makeItem();
        m_window->open(std::nullopt, QString());
        QVERIFY(waitUntil([this] { return m_window->isActiveWindow(); }));
        QVERIFY(waitUntil([&] { return m_window->geometry().topRight() == screen->geometry().topRight(); }));
    }

private:
    static void addPanels()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("xfce4-panel") << QStringLiteral("xfce4-panel");
        QTest::newRow("lxqt-panel") << QStringLiteral("lxqt-panel");
    }

    void startAll()
    {
        QFETCH(QString, program);
        m_panel = std::make_unique<RunningPanel>(program);
        m_panel->start();
        makeItem();
        if (!waitUntil([] { return placeOf(kColour).has_value(); }))
            qFatal("the item is not shown");
        // The window manager reports the panel's space a moment later.
        if (!waitUntil([] { return QGuiApplication::primaryScreen()->availableGeometry().top() > 0; }))
            qFatal("the panel claims no room");
        m_place = *placeOf(kColour);
    }

    void makeItem()
    {
        auto *const content = new QWidget;
        content->setFixedSize(300, 250);
        m_window = std::make_unique<MenuBarWindow>(content);
        const auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("item"));
        const StatusNotifierItem::Options options{
            QStringLiteral("velmora-test"), StatusNotifierItem::clickPlaceOfSession()};
        m_item = std::make_unique<StatusNotifierItem>(bus, options);
        QImage image(24, 24, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor::fromRgb(kColour));
        m_item->show({{}, {}, {image}, {}});
        connect(m_item.get(), &StatusItem::activated, m_window.get(), &MenuBarWindow::toggle);
    }

    std::unique_ptr<RunningPanel> m_windowManager;
    std::unique_ptr<RunningPanel> m_panel;
    std::unique_ptr<StatusItem> m_item;
    std::unique_ptr<MenuBarWindow> m_window;
    QPoint m_place;
};

static int runBesidePanels(int argc, char **argv)
{
    // Other tests run offscreen; this one needs the display of the panels.
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    WindowAtItemTest test;
    return QTest::qExec(&test, argc, argv);
}
VELMORA_TEST_FUNCTION(runBesidePanels)
#include "window_at_item_test.moc"
