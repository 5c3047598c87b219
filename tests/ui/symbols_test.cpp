// SPDX-License-Identifier: MIT
#include "ui/controls/symbols.h"

#include "support/test_main.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QTest>

using namespace velmora;

namespace
{

QImage painted(const QString &name, int side, const QColor &colour, qreal ratio = 1, int degrees = 0)
{
    QImage image(qRound(side * ratio), qRound(side * ratio), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintSymbol(&painter, name, QRectF(0, 0, side, side), colour, degrees);
    return image;
}

/// The number of pixels that are at least half covered.
int inkOf(const QImage &image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y).alpha() >= 128 ? 1 : 0;
    }
    return count;
}

QColor darkestColour(const QImage &image)
{
    QColor found;
    int alpha = -1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() > alpha) {
                alpha = pixel.alpha();
                found = pixel;
            }
        }
    }
    return found;
}

} // namespace

class SymbolsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QGuiApplication::setPalette(QPalette()); }

    void everyNameThatIsUsedHasAPicture_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name :
            {"arrow.up.circle.fill", "exclamationmark.triangle.fill", "checkmark.circle", "arrow.triangle.2.circlepath",
                "exclamationmark.circle", "clock.badge.exclamationmark", "arrow.up.circle.dotted", "gearshape",
                "arrow.clockwise", "clock", "pause.circle.fill", "checkmark.circle.fill", "xmark.circle.fill",
                "minus.circle", "questionmark.circle", "arrow.up.right", "person.2", "folder", "plus", "square.stack",
                "person.crop.circle.badge.plus", "person.crop.circle.fill", "magnifyingglass"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void everyNameThatIsUsedHasAPicture()
    {
        QFETCH(QString, name);
        QVERIFY(symbolNames().contains(name));
        for (const int side : {12, 16, 22, 24, 32, 48}) {
            const int ink = inkOf(painted(name, side, Qt::black));
            QVERIFY2(ink > side * side / 25, qPrintable(QStringLiteral("%1 pixels of ink at %2").arg(ink).arg(side)));
            QVERIFY2(ink < side * side * 9 / 10, "a filled square");
        }
    }

    void everyTwoPicturesDiffer()
    {
        const QStringList names = symbolNames();
        QCOMPARE(names.size(), 26);
        for (qsizetype i = 0; i < names.size(); ++i) {
            for (qsizetype j = 0; j < i; ++j)
                QVERIFY2(painted(names.at(i), 16, Qt::black) != painted(names.at(j), 16, Qt::black),
                    qPrintable(names.at(i) + QLatin1Char(' ') + names.at(j)));
        }
    }

    void namesAreInAlphabeticalOrder()
    {
        QStringList sorted = symbolNames();
        sorted.sort();
        QCOMPARE(symbolNames(), sorted);
    }

    void theColourIsTheOneAskedFor()
    {
        const QColor red(200, 30, 40);
        QCOMPARE(darkestColour(painted(QStringLiteral("xmark.circle.fill"), 32, red)), red);
        QCOMPARE(darkestColour(painted(QStringLiteral("xmark.circle.fill"), 32, Qt::white)), QColor(Qt::white));
    }

    void aDeviceOfTwiceTheRatioShowsTwiceTheDetail()
    {
        const QImage fine = painted(QStringLiteral("gearshape"), 16, Qt::black, 2);
        QCOMPARE(fine.size(), QSize(32, 32));
        // It is rendered at this size, not scaled up.
        const QImage coarse = painted(QStringLiteral("gearshape"), 16, Qt::black).scaled(32, 32);
        QVERIFY(fine.convertToFormat(QImage::Format_ARGB32) != coarse.convertToFormat(QImage::Format_ARGB32));
        QImage same = painted(QStringLiteral("gearshape"), 32, Qt::black);
        same.setDevicePixelRatio(2);
        QCOMPARE(fine, same);
    }

    void aTurnedSymbolIsAnotherPictureOfTheSameWeight()
    {
        const QImage upright = painted(QStringLiteral("arrow.triangle.2.circlepath"), 32, Qt::black);
        const QImage turned = painted(QStringLiteral("arrow.triangle.2.circlepath"), 32, Qt::black, 1, 45);
        QVERIFY(upright != turned);
        QVERIFY(std::abs(inkOf(upright) - inkOf(turned)) < inkOf(upright) / 5);
    }

    void aSymbolStandsInTheMiddleOfItsFrame()
    {
        QImage image(40, 20, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintSymbol(&painter, u"checkmark.circle.fill", QRectF(0, 0, 40, 20), Qt::black);
        painter.end();
        QCOMPARE(image.copy(10, 0, 20, 20), painted(QStringLiteral("checkmark.circle.fill"), 20, Qt::black));
        QCOMPARE(inkOf(image.copy(0, 0, 10, 20)) + inkOf(image.copy(30, 0, 10, 20)), 0);
    }

    void aSymbolBetweenTwoPixelsIsMovedToOne()
    {
        QImage image(17, 17, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintSymbol(&painter, u"clock", QRectF(0.6, 0.3, 16, 16), Qt::black);
        painter.end();
        QCOMPARE(image.copy(1, 0, 16, 16), painted(QStringLiteral("clock"), 16, Qt::black));
    }

    void anUnknownNamePaintsNothing()
    {
        QCOMPARE(inkOf(painted(QStringLiteral("no.such.symbol"), 16, Qt::black)), 0);
        QVERIFY(symbolIcon(u"no.such.symbol").isNull());
        QCOMPARE(inkOf(painted(QString(), 16, Qt::black)), 0);
    }

    void anEmptyFramePaintsNothing()
    {
        QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintSymbol(&painter, u"clock", QRectF(), Qt::black);
        painter.end();
        QCOMPARE(inkOf(image), 0);
    }

    void anIconFollowsThePalette()
    {
        const QIcon icon = symbolIcon(u"gearshape");
        QPalette palette;
        palette.setColor(QPalette::ButtonText, QColor(10, 20, 30));
        QGuiApplication::setPalette(palette);
        QCOMPARE(darkestColour(icon.pixmap(32, 32).toImage()), QColor(10, 20, 30));
        palette.setColor(QPalette::Active, QPalette::ButtonText, QColor(240, 230, 220));
        palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(100, 110, 120));
        palette.setColor(QPalette::Active, QPalette::HighlightedText, QColor(1, 2, 3));
        QGuiApplication::setPalette(palette);
        QCOMPARE(darkestColour(icon.pixmap(32, 32).toImage()), QColor(240, 230, 220));
        QCOMPARE(darkestColour(icon.pixmap(32, 32, QIcon::Disabled).toImage()), QColor(100, 110, 120));
        QCOMPARE(darkestColour(icon.pixmap(32, 32, QIcon::Selected).toImage()), QColor(1, 2, 3));
    }

    void aCopyOfAnIconDrawsTheSame()
    {
        QIcon copy = symbolIcon(u"plus");
        copy.detach();
        QVERIFY(!copy.isNull());
        QCOMPARE(copy.pixmap(16, 16).toImage(), symbolIcon(u"plus").pixmap(16, 16).toImage());
    }

    void aPictureIsDrawnOnceAndKept()
    {
        QPixmapCache::clear();
        const QImage first = painted(QStringLiteral("clock"), 16, Qt::black);
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < 200; ++i)
            painted(QStringLiteral("clock"), 16, Qt::black);
        const qint64 kept = timer.nsecsElapsed();
        timer.restart();
        for (int i = 0; i < 200; ++i) {
            QPixmapCache::clear();
            painted(QStringLiteral("clock"), 16, Qt::black);
        }
        QVERIFY(kept * 2 < timer.nsecsElapsed());
        QCOMPARE(painted(QStringLiteral("clock"), 16, Qt::black), first);
    }
};

VELMORA_WIDGET_TEST(SymbolsTest)
#include "symbols_test.moc"
