// SPDX-License-Identifier: MIT
#include "ui/window/window_edge.h"

#include "support/test_main.h"
#include "ui/controls/tones.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace velmora;

namespace
{

constexpr QRect kWindow(0, 0, 200, 150);
constexpr int kRadius = 12;

/// What the edge draws in this part of a window; the rest is transparent.
QImage painted(const WindowEdge &edge, const QRect &area = kWindow, qreal scale = 1)
{
    QImage image((QSizeF(kWindow.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setClipRect(area);
    edge.paint(&painter, kWindow, area, QPalette());
    return image;
}

QRect visible(const WindowEdge &edge)
{
    return kWindow.marginsRemoved(edge.shadow());
}

} // namespace

class WindowEdgeTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldBeNothingWhereTheDesktopDrawsTheFrame()
    {
        QVERIFY(WindowEdge().margins().isNull());
        QImage blank(kWindow.size(), QImage::Format_ARGB32_Premultiplied);
        blank.fill(Qt::transparent);
        QCOMPARE(painted(WindowEdge()), blank);
    }

    void shouldBeALineWithSquareCornersWhereTheDesktopDoesNotBlend()
    {
        // As on the platform of this test.
        const WindowEdge edge = WindowEdge::ofDesktop();
        QVERIFY(!edge.isSoft());
        QCOMPARE(edge.margins(), QMargins(1, 1, 1, 1));
        QCOMPARE(edge.gap(), 0);
        const QImage image = painted(edge);
        QCOMPARE(image.pixelColor(0, 0).rgba(), separatorColour(QPalette()).rgba());
        QCOMPARE(image.pixelColor(199, 149).rgba(), separatorColour(QPalette()).rgba());
        QCOMPARE(image.pixelColor(1, 1).alpha(), 0);
    }

    void shouldBeALineAroundAGroundWithRoundCorners_data() { addScales(); }
    void shouldBeALineAroundAGroundWithRoundCorners()
    {
        QFETCH(qreal, scale);
        const WindowEdge edge = WindowEdge::soft(kRadius);
        const QImage image = painted(edge, kWindow, scale);
        const auto pixel = [&](QPointF place) {
            return image.pixelColor((place * scale).toPoint()).rgba();
        };
        const QRectF inside = visible(edge);
        QCOMPARE(pixel(inside.center()), QPalette().color(QPalette::Window).rgba());
        QCOMPARE(pixel({inside.left(), inside.center().y()}), separatorColour(QPalette()).rgba());
        QCOMPARE(pixel({inside.center().x(), inside.top()}), separatorColour(QPalette()).rgba());
        QCOMPARE(pixel(inside.topLeft() + QPointF(kRadius, kRadius)), QPalette().color(QPalette::Window).rgba());
        // The corner is left to the shadow.
        QVERIFY(qAlpha(pixel(inside.topLeft() + QPointF(1, 1))) < 128);
        QVERIFY(qAlpha(pixel(inside.bottomRight() - QPointF(2, 2))) < 128);
    }

    void shouldFadeOutWithinItsMargins_data() { addScales(); }
    void shouldFadeOutWithinItsMargins()
    {
        QFETCH(qreal, scale);
        const WindowEdge edge = WindowEdge::soft(kRadius);
        const QImage image = painted(edge, kWindow, scale);
        for (int x = 0; x < image.width(); ++x) {
            QVERIFY(image.pixelColor(x, 0).alpha() <= 2);
            QVERIFY(image.pixelColor(x, image.height() - 1).alpha() <= 2);
        }
        const int middle = image.height() / 2;
        const int left = int(visible(edge).left() * scale);
        int before = 0;
        for (int x = 0; x < left; ++x) {
            const int alpha = image.pixelColor(x, middle).alpha();
            QVERIFY2(alpha >= before, qPrintable(QStringLiteral("at %1").arg(x)));
            before = alpha;
        }
        QVERIFY(before > 20);
    }

    void shouldHaveMoreShadowBelowThanAbove()
    {
        const WindowEdge edge = WindowEdge::soft(kRadius);
        const QImage image = painted(edge);
        const QRect inside = visible(edge);
        const int above = image.pixelColor(inside.center().x(), inside.top() - 3).alpha();
        QVERIFY(image.pixelColor(inside.center().x(), inside.bottom() + 3).alpha() > above);
    }

    void shouldDrawThePartsOfAWindowAsItDrawsTheWhole()
    {
        const WindowEdge edge = WindowEdge::soft(kRadius);
        const QImage whole = painted(edge);
        for (const QRect part : {QRect(60, 60, 40, 30), QRect(0, 0, 60, 60), QRect(100, 100, 100, 50),
                 QRect(30, 40, 100, 3), visible(edge)})
            QCOMPARE(painted(edge, part).copy(part), whole.copy(part));
    }

    void shouldKeepItsContentWithinShadowAndLine()
    {
        const WindowEdge edge = WindowEdge::soft(kRadius);
        QCOMPARE(edge.margins(), edge.shadow() + QMargins(1, 1, 1, 1));
        QVERIFY(edge.gap() > 0);
    }

private:
    static void addScales()
    {
        QTest::addColumn<qreal>("scale");
        QTest::newRow("100 %") << 1.0;
        QTest::newRow("150 %") << 1.5;
        QTest::newRow("200 %") << 2.0;
    }
};

VELMORA_WIDGET_TEST(WindowEdgeTest)
#include "window_edge_test.moc"
