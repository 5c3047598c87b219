// SPDX-License-Identifier: MIT
#include "ui/window/window_placement.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

constexpr QRect kScreen(0, 0, 1280, 800);
constexpr QSize kSize(360, 500);

ScreenArea withPanel(const char *side, const QRect &screen = kScreen)
{
    constexpr int kPanel = 28;
    const QString name = QString::fromLatin1(side);
    return {screen,
        screen.adjusted(name == QLatin1String("left") ? kPanel : 0, name == QLatin1String("top") ? kPanel : 0,
            name == QLatin1String("right") ? -kPanel : 0, name == QLatin1String("bottom") ? -kPanel : 0)};
}

QRect placed(const QList<ScreenArea> &screens, std::optional<QPoint> anchor, QPoint pointer = {}, QSize size = kSize,
    Qt::LayoutDirection direction = Qt::LeftToRight)
{
    return placedWindow({size, anchor, pointer, screens, direction});
}

} // namespace

class WindowPlacementTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldStandBesideThePanelAtTheClick_data()
    {
        QTest::addColumn<QString>("side");
        QTest::addColumn<QPoint>("click");
        QTest::addColumn<QPoint>("corner");
        const auto row = [](const char *name, const char *side, QPoint click, QPoint corner) {
            QTest::newRow(name) << QString::fromLatin1(side) << click << corner;
        };
        row("below a panel at the top", "top", {640, 14}, {460, 28});
        row("above a panel at the bottom", "bottom", {640, 786}, {460, 272});
        row("right of a panel on the left", "left", {14, 400}, {28, 150});
        row("left of a panel on the right", "right", {1266, 400}, {892, 150});
        row("not off the right edge", "top", {1264, 14}, {920, 28});
        row("not off the left edge", "top", {3, 14}, {0, 28});
        row("not off the upper edge", "left", {14, 3}, {28, 0});
        row("not off the lower edge", "right", {1266, 790}, {892, 300});
        row("in the corner of the screen", "bottom", {1279, 799}, {920, 272});
    }
    void shouldStandBesideThePanelAtTheClick()
    {
        QFETCH(QString, side);
        QFETCH(QPoint, click);
        QFETCH(QPoint, corner);
        QCOMPARE(placed({withPanel(qPrintable(side))}, click), QRect(corner, kSize));
    }

    void shouldKeepClearOfAPanelThatClaimsNoRoom()
    {
        const QList<ScreenArea> screens{{kScreen, kScreen}};
        QCOMPARE(placed(screens, QPoint(640, 14)), QRect(QPoint(460, 30), kSize));
        QCOMPARE(placed(screens, QPoint(640, 786)), QRect(QPoint(460, 270), kSize));
        QVERIFY(!placed(screens, QPoint(640, 14)).contains(640, 14));
    }

    void shouldStandOnTheScreenThatWasClicked_data()
    {
        QTest::addColumn<QRect>("second");
        QTest::newRow("to the right") << QRect(1280, 0, 1920, 1080);
        QTest::newRow("to the left, at negative coordinates") << QRect(-1920, -280, 1920, 1080);
        QTest::newRow("above") << QRect(0, -1080, 1920, 1080);
        QTest::newRow("below") << QRect(-300, 800, 1920, 1080);
    }
    void shouldStandOnTheScreenThatWasClicked()
    {
        QFETCH(QRect, second);
        const QList<ScreenArea> screens{withPanel("top"), withPanel("bottom", second)};
        const QPoint click(second.right() - 10, second.bottom() - 10);
        const QRect place = placed(screens, click, QPoint(5, 5));
        QVERIFY(screens.at(1).available.contains(place));
        QCOMPARE(place.bottom(), screens.at(1).available.bottom());
        QCOMPARE(place.right(), second.right());
    }

    void shouldNotStretchOverTwoScreens()
    {
        const QRect second(1280, 0, 1280, 800);
        const QList<ScreenArea> screens{withPanel("top"), withPanel("top", second)};
        QCOMPARE(placed(screens, QPoint(1278, 14)), QRect(QPoint(920, 28), kSize));
        QCOMPARE(placed(screens, QPoint(1281, 14)), QRect(QPoint(1280, 28), kSize));
    }

    void shouldBeNoLargerThanTheFreePartOfTheScreen()
    {
        const QRect small(0, 0, 320, 240);
        QCOMPARE(placed({withPanel("top", small)}, QPoint(300, 14)), QRect(0, 28, 320, 212));
        QCOMPARE(placed({withPanel("top", small)}, std::nullopt), QRect(0, 28, 320, 212));
    }

    void shouldStandInTheCornerOfTheTrayWithoutAPlace_data()
    {
        QTest::addColumn<QString>("side");
        QTest::addColumn<QPoint>("corner");
        QTest::newRow("a panel at the top") << QStringLiteral("top") << QPoint(920, 28);
        QTest::newRow("a panel at the bottom") << QStringLiteral("bottom") << QPoint(920, 272);
        QTest::newRow("a panel on the left") << QStringLiteral("left") << QPoint(28, 300);
        QTest::newRow("a panel on the right") << QStringLiteral("right") << QPoint(892, 300);
        QTest::newRow("no panel") << QString() << QPoint(920, 0);
    }
    void shouldStandInTheCornerOfTheTrayWithoutAPlace()
    {
        QFETCH(QString, side);
        QFETCH(QPoint, corner);
        QCOMPARE(placed({withPanel(qPrintable(side))}, std::nullopt), QRect(corner, kSize));
    }

    void shouldKeepToTheBarBesideADock()
    {
        // For desktops with the tray in a bar and programs in a dock.
        const ScreenArea topAndLeft{kScreen, kScreen.adjusted(64, 28, 0, 0)};
        QCOMPARE(placed({topAndLeft}, std::nullopt), QRect(QPoint(920, 28), kSize));
        const ScreenArea topAndBottom{kScreen, kScreen.adjusted(0, 28, 0, -64)};
        QCOMPARE(placed({topAndBottom}, std::nullopt), QRect(QPoint(920, 28), kSize));
        const ScreenArea bottomAndLeft{kScreen, kScreen.adjusted(64, 0, 0, -28)};
        QCOMPARE(placed({bottomAndLeft}, std::nullopt), QRect(QPoint(920, 272), kSize));
    }

    void shouldMirrorTheCornerWhereTextRunsFromTheRight()
    {
        QCOMPARE(placed({withPanel("top")}, std::nullopt, {}, kSize, Qt::RightToLeft), QRect(QPoint(0, 28), kSize));
        QCOMPARE(placed({withPanel("bottom")}, std::nullopt, {}, kSize, Qt::RightToLeft), QRect(QPoint(0, 272), kSize));
        QCOMPARE(placed({withPanel("left")}, std::nullopt, {}, kSize, Qt::RightToLeft), QRect(QPoint(28, 300), kSize));
    }

    void shouldStandOnTheScreenUnderThePointerWithoutAPlace()
    {
        const QRect second(-1920, -280, 1920, 1080);
        const QList<ScreenArea> screens{withPanel("top"), withPanel("bottom", second)};
        QCOMPARE(placed(screens, std::nullopt, QPoint(-5, 0)), QRect(QPoint(-360, 272), kSize));
        QCOMPARE(placed(screens, std::nullopt, QPoint(5, 5)), QRect(QPoint(920, 28), kSize));
    }

    void shouldStandOnTheFirstScreenWhenThePointerIsOnNone()
    {
        const QList<ScreenArea> screens{withPanel("top"), withPanel("bottom", QRect(1280, 0, 1920, 1080))};
        QCOMPARE(placed(screens, std::nullopt, QPoint(-99, -99)), QRect(QPoint(920, 28), kSize));
    }

    void shouldTakeAClickOnNoScreenForNone_data()
    {
        QTest::addColumn<QPoint>("click");
        const int least = std::numeric_limits<int>::min();
        const int most = std::numeric_limits<int>::max();
        QTest::newRow("beyond the screens") << QPoint(5000, 14);
        QTest::newRow("the least of numbers") << QPoint(least, least);
        QTest::newRow("the greatest of numbers") << QPoint(most, most);
    }
    void shouldTakeAClickOnNoScreenForNone()
    {
        QFETCH(QPoint, click);
        QCOMPARE(placed({withPanel("bottom")}, click, QPoint(5, 5)), QRect(QPoint(920, 272), kSize));
    }

    void shouldUseTheWholeScreenWhereAPanelClaimsAllOfIt()
    {
        QCOMPARE(placed({{kScreen, QRect()}}, std::nullopt), QRect(QPoint(920, 0), kSize));
        QCOMPARE(placed({{kScreen, QRect(9000, 0, 10, 10)}}, QPoint(640, 14)), QRect(QPoint(460, 30), kSize));
    }

    void shouldKeepAGapToThePanelAndTheEndOfTheScreen()
    {
        const auto placedWithGap = [](const char *side, std::optional<QPoint> click) {
            return placedWindow({kSize, click, {}, {withPanel(side)}, Qt::LeftToRight, {}, 6});
        };
        QCOMPARE(placedWithGap("top", QPoint(640, 14)), QRect(QPoint(460, 34), kSize));
        QCOMPARE(placedWithGap("bottom", QPoint(1279, 799)), QRect(QPoint(914, 266), kSize));
        QCOMPARE(placedWithGap("left", QPoint(14, 3)), QRect(QPoint(34, 6), kSize));
        QCOMPARE(placedWithGap("right", std::nullopt), QRect(QPoint(886, 294), kSize));
    }

    void shouldStandWithItsShadowAroundThePlaceThatItHasWithoutOne()
    {
        const QMargins shadow(18, 14, 18, 22);
        for (const auto &click : {std::optional(QPoint(1264, 14)), std::optional<QPoint>()}) {
            const PlacementRequest without{kSize, click, {}, {withPanel("top")}};
            PlacementRequest with = without;
            with.size = kSize.grownBy(shadow);
            with.shadow = shadow;
            QCOMPARE(placedWindow(with), placedWindow(without).marginsAdded(shadow));
        }
    }

    void shouldShrinkWhatIsInsideItsShadow()
    {
        const QMargins shadow(18, 14, 18, 22);
        const QRect small(0, 0, 320, 240);
        const QRect place = placedWindow(
            {kSize.grownBy(shadow), QPoint(300, 14), {}, {withPanel("top", small)}, Qt::LeftToRight, shadow, 6});
        QCOMPARE(place.marginsRemoved(shadow), QRect(6, 34, 308, 200));
    }

    void shouldDoWithoutAGapWhereThereIsNoRoomForOne()
    {
        const QRect tiny(0, 0, 10, 38);
        QCOMPARE(placedWindow({kSize, QPoint(5, 14), {}, {withPanel("top", tiny)}, Qt::LeftToRight, {}, 6}),
            QRect(0, 28, 10, 10));
    }

    void shouldKeepItsSizeWithoutAScreen() { QCOMPARE(placed({}, QPoint(1, 1)), QRect(QPoint(), kSize)); }

    void shouldNeverLeaveTheFreePartWhereverTheClick()
    {
        for (const char *const side : {"top", "bottom", "left", "right", "none"}) {
            const ScreenArea screen = withPanel(side, QRect(-640, -400, 1280, 800));
            for (int x = screen.geometry.left(); x <= screen.geometry.right(); x += 7) {
                for (int y = screen.geometry.top(); y <= screen.geometry.bottom(); y += 7)
                    QVERIFY(screen.available.contains(placed({screen}, QPoint(x, y))));
            }
        }
    }
};

VELMORA_TEST(WindowPlacementTest)
#include "window_placement_test.moc"
