// SPDX-License-Identifier: MIT
#include "ui/tray/tray_icon.h"

#include "support/test_main.h"

#include <QColor>
#include <QPainter>
#include <QTest>

#include <cmath>

using namespace velmora;

namespace
{

using Case = DeploymentMonitorState::Case;

const QList<int> kSizes{16, 22, 24, 32, 48, 64};

QList<DeploymentMonitorPresentation> everyState()
{
    return {{Case::Ready, 1, 0}, {Case::Ready, 0, 1}, {Case::Ready, 0, 0}, {Case::Loading, 0, 0}, {Case::Stale, 0, 0},
        {Case::RateLimited, 0, 0}, {Case::Disconnected, 0, 0}};
}

QImage on(const QImage &icon, const QColor &panel)
{
    QImage image(icon.size(), QImage::Format_RGB32);
    image.fill(panel);
    QPainter painter(&image);
    painter.drawImage(0, 0, icon);
    return image;
}

/// The relative luminance of a colour, from 0 to 1.
double luminance(QRgb colour)
{
    const auto linear = [](int value) {
        const double share = value / 255.0;
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

double contrast(QRgb one, QRgb other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// The share of pixels with the contrast to the panel that the accessibility guidelines require of graphics.
double shareThatStandsOut(const QImage &icon, const QColor &panel)
{
    const QImage image = on(icon, panel);
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += contrast(image.pixel(x, y), panel.rgb()) >= 3.0 ? 1 : 0;
    }
    return double(count) / double(image.width() * image.height());
}

/// The icon in black and white by luminance, as without colour vision.
QImage shapeOf(const QImage &icon)
{
    QImage shape(icon.size(), QImage::Format_Grayscale8);
    for (int y = 0; y < icon.height(); ++y) {
        for (int x = 0; x < icon.width(); ++x) {
            const QRgb pixel = icon.pixel(x, y);
            const bool isInk = qAlpha(pixel) > 127 && luminance(qUnpremultiply(pixel)) < 0.4;
            shape.setPixel(x, y, isInk ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
        }
    }
    return shape;
}

int differences(const QImage &one, const QImage &other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            count += one.pixel(x, y) == other.pixel(x, y) ? 0 : 1;
    }
    return count;
}

} // namespace

class TrayIconTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldHaveASquareOfEverySize()
    {
        for (const auto &presentation : everyState()) {
            const auto images = TrayIcon().images(presentation);
            QList<int> sizes;
            for (const QImage &image : images) {
                QCOMPARE(image.width(), image.height());
                QVERIFY(image.hasAlphaChannel());
                sizes.append(image.width());
            }
            QCOMPARE(sizes, kSizes);
        }
    }

    void shouldStandOutFromPanelsOfEveryTone()
    {
        const QList<QColor> panels{Qt::white, QColor(0xf2, 0xf2, 0xf2), QColor(0x1e, 0x1e, 0x1e), Qt::black};
        for (const auto &presentation : everyState()) {
            for (const QImage &image : TrayIcon().images(presentation)) {
                for (const QColor &panel : panels) {
                    const double share = shareThatStandsOut(image, panel);
                    QVERIFY2(share > 0.10,
                        qPrintable(QStringLiteral("%1 at %2 on %3: %4")
                                       .arg(presentation.symbol())
                                       .arg(image.width())
                                       .arg(panel.name())
                                       .arg(share)));
                }
            }
        }
    }

    void shouldTellTheStatesApartWithoutColour()
    {
        const auto states = everyState();
        for (qsizetype one = 0; one < states.size(); ++one) {
            for (qsizetype other = one + 1; other < states.size(); ++other) {
                const auto left = TrayIcon().images(states.at(one));
                const auto right = TrayIcon().images(states.at(other));
                for (qsizetype i = 0; i < left.size(); ++i) {
                    const int area = left.at(i).width() * left.at(i).height();
                    const int count = differences(shapeOf(left.at(i)), shapeOf(right.at(i)));
                    QVERIFY2(count * 40 > area,
                        qPrintable(QStringLiteral("%1 and %2 at %3: %4 pixels")
                                       .arg(states.at(one).symbol(), states.at(other).symbol())
                                       .arg(left.at(i).width())
                                       .arg(count)));
                }
            }
        }
    }

    void shouldShowEachNumberInEverySize()
    {
        QList<QList<QImage>> drawn;
        for (const qsizetype count : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 42, 99, 100})
            drawn.append(TrayIcon().images({Case::Ready, count, 0}));
        for (qsizetype size = 0; size < kSizes.size(); ++size) {
            for (qsizetype one = 0; one < drawn.size(); ++one) {
                for (qsizetype other = one + 1; other < drawn.size(); ++other)
                    QVERIFY(drawn.at(one).at(size) != drawn.at(other).at(size));
            }
        }
    }

    void shouldWriteWhatFitsIntoTheIcon_data()
    {
        QTest::addColumn<qsizetype>("count");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << qsizetype(0) << QString();
        QTest::newRow("one") << qsizetype(1) << QStringLiteral("1");
        QTest::newRow("two digits") << qsizetype(99) << QStringLiteral("99");
        QTest::newRow("more") << qsizetype(100) << QStringLiteral("99+");
        QTest::newRow("many more") << qsizetype(20'000) << QStringLiteral("99+");
    }
    void shouldWriteWhatFitsIntoTheIcon()
    {
        QFETCH(qsizetype, count);
        QFETCH(QString, text);
        QCOMPARE(TrayIcon::countText({Case::Ready, count, 0}), text);
    }

    void shouldCountOnlyWhatIsReady()
    {
        QCOMPARE(TrayIcon::countText({Case::Stale, 3, 0}), QString());
        QCOMPARE(TrayIcon().images({Case::Stale, 3, 0}), TrayIcon().images({Case::Stale, 0, 0}));
    }

    void shouldDrawEachValueOnce()
    {
        TrayIcon icon;
        const auto first = icon.images({Case::Ready, 3, 0});
        const auto failed = icon.images({Case::Ready, 0, 5});
        // Shared pixels prove that the picture came from the cache.
        QCOMPARE(icon.images({Case::Ready, 3, 2}).at(5).constBits(), first.at(5).constBits());
        QCOMPARE(icon.images({Case::Ready, 0, 9}).at(5).constBits(), failed.at(5).constBits());
        QVERIFY(icon.images({Case::Ready, 4, 0}).at(5).constBits() != first.at(5).constBits());
    }

    void shouldNotKeepEveryValueForEver()
    {
        TrayIcon icon;
        const uchar *const before = icon.images({Case::Ready, 1, 0}).at(5).constBits();
        const QImage kept = icon.images({Case::Ready, 1, 0}).at(5); // keeps the memory of the picture from being reused
        for (qsizetype count = 2; count < 40; ++count)
            std::ignore = icon.images({Case::Ready, count, 0});
        QCOMPARE(kept.constBits(), before);
        QVERIFY(icon.images({Case::Ready, 1, 0}).at(5).constBits() != before);
    }
};

VELMORA_WIDGET_TEST(TrayIconTest)
#include "tray_icon_test.moc"
