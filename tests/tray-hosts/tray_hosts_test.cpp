// SPDX-License-Identifier: MIT
#include "platform/fallback_status_item.h"
#include "platform/status_notifier_item.h"
#include "running_panel.h"
#include "support/await.h"
#include "support/test_main.h"
#include "ui/tray/xembed_status_item.h"

#include <QApplication>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

constexpr QRgb kColour = qRgb(0xff, 0x00, 0xd5);
constexpr QRgb kOtherColour = qRgb(0x00, 0xd5, 0x3a);

QList<QImage> filled(QRgb colour)
{
    QList<QImage> images;
    for (const int side : {16, 22, 24, 32, 48}) {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor::fromRgb(colour));
        images.append(image);
    }
    return images;
}

[[nodiscard]] bool isShown(QRgb colour)
{
    return waitUntil([colour] { return placeOf(colour).has_value(); });
}

[[nodiscard]] bool isGone(QRgb colour)
{
    return waitUntil([colour] { return !placeOf(colour); });
}

} // namespace

/// Tests the item on panels that are in use.
class TrayHostsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        m_item.reset();
        m_panel.reset();
        drainEvents();
    }

    void shouldAppearOnAPanelThatIsThere_data() { addPanels(); }
    void shouldAppearOnAPanelThatIsThere()
    {
        startPanel();
        makeItem();
        QVERIFY(isShown(kColour));
        QVERIFY(m_item->isAvailable());
    }

    void shouldAppearOnAPanelThatComesLater_data() { addPanels(); }
    void shouldAppearOnAPanelThatComesLater()
    {
        makeItem();
        drainEvents();
        QVERIFY(!m_item->isAvailable());
        startPanel();
        QVERIFY(isShown(kColour));
        QVERIFY(m_item->isAvailable());
    }

    void shouldComeBackWithThePanel_data() { addPanels(); }
    void shouldComeBackWithThePanel()
    {
        startPanel();
        makeItem();
        QVERIFY(isShown(kColour));
        m_panel->end();
        QVERIFY(waitUntil([this] { return !m_item->isAvailable(); }));
        QVERIFY(isGone(kColour));
        m_panel->start();
        QVERIFY(isShown(kColour));
        QVERIFY(m_item->isAvailable());
    }

    void shouldTellWhereItWasClicked_data() { addPanels(); }
    void shouldTellWhereItWasClicked()
    {
        startPanel();
        makeItem();
        QVERIFY(isShown(kColour));
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        // A panel that has just started may still move its icons, or not listen yet.
        QPoint place;
        for (int attempt = 0; attempt < 10 && spy.isEmpty(); ++attempt) {
            place = placeOf(kColour).value_or(place);
            clickAt(place);
            std::ignore = waitUntil([&spy] { return !spy.isEmpty(); }, 2'000);
        }
        QVERIFY(!spy.isEmpty());
        QCOMPARE(spy.constFirst().at(0).value<std::optional<QPoint>>(), std::optional(place));
    }

    void shouldShowItsNewIcon_data() { addPanels(); }
    void shouldShowItsNewIcon()
    {
        startPanel();
        makeItem();
        QVERIFY(isShown(kColour));
        show(kOtherColour);
        QVERIFY(isShown(kOtherColour));
        QVERIFY(isGone(kColour));
    }

    void shouldLeaveThePanelWhenItEnds_data() { addPanels(); }
    void shouldLeaveThePanelWhenItEnds()
    {
        startPanel();
        makeItem();
        QVERIFY(isShown(kColour));
        m_item.reset();
        QVERIFY(isGone(kColour));
    }

    void shouldFallBackOnAPanelOfTheOldKind()
    {
        m_panel = std::make_unique<RunningPanel>(QStringLiteral("trayer"));
        m_panel->start();
        QVERIFY(waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); }));
        makeItem();
        QVERIFY(isShown(kColour));
        QVERIFY(m_item->isAvailable());
        QSignalSpy spy(m_item.get(), &StatusItem::activated);
        const QPoint place = *placeOf(kColour);
        clickAt(place);
        QVERIFY(waitUntil([&spy] { return !spy.isEmpty(); }));
        QCOMPARE(spy.constFirst().at(0).value<std::optional<QPoint>>(), std::optional(place));
        // A panel with the newer protocol is preferred, and only one icon may be shown.
        RunningPanel better(QStringLiteral("lxqt-panel"));
        better.start();
        QVERIFY(waitUntil([this] { return m_preferred->isAvailable(); }));
        m_panel->end();
        QVERIFY(isShown(kColour));
    }

    void shouldKnowThatPlacesOnX11AreGlobal()
    {
        QCOMPARE(StatusNotifierItem::clickPlaceOfSession(), StatusNotifierItem::ClickPlace::Global);
        qputenv("WAYLAND_DISPLAY", "wayland-0");
        const auto inWayland = StatusNotifierItem::clickPlaceOfSession();
        qunsetenv("WAYLAND_DISPLAY");
        QCOMPARE(inWayland, StatusNotifierItem::ClickPlace::Unknown);
    }

private:
    static void addPanels()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("xfce4-panel") << QStringLiteral("xfce4-panel");
        QTest::newRow("lxqt-panel") << QStringLiteral("lxqt-panel");
    }

    void startPanel()
    {
        QFETCH(QString, program);
        m_panel = std::make_unique<RunningPanel>(program);
        m_panel->start();
    }

    void makeItem()
    {
        const auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("item"));
        const StatusNotifierItem::Options options{
            QStringLiteral("velmora-test"), StatusNotifierItem::clickPlaceOfSession()};
        auto preferred = std::make_unique<StatusNotifierItem>(bus, options);
        m_preferred = preferred.get();
        m_item = std::make_unique<FallbackStatusItem>(
            std::move(preferred), &XEmbedStatusItem::makeWherePossible, std::chrono::milliseconds(100));
        show(kColour);
    }

    void show(QRgb colour)
    {
        m_item->show({QStringLiteral("Velmora"), QStringLiteral("1 failed"), filled(colour),
            {{1, QStringLiteral("Open Velmora"), true, false}}});
    }

    std::unique_ptr<RunningPanel> m_panel;
    StatusNotifierItem *m_preferred = nullptr;
    std::unique_ptr<StatusItem> m_item;
};

static int runBesidePanels(int argc, char **argv)
{
    // Other tests run offscreen; this one needs the display of the panels.
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    TrayHostsTest test;
    return QTest::qExec(&test, argc, argv);
}
VELMORA_TEST_FUNCTION(runBesidePanels)
#include "tray_hosts_test.moc"
