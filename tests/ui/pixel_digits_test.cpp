// SPDX-License-Identifier: MIT
#include "ui/tray/pixel_digits.h"

#include "support/test_main.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace velmora;

namespace
{

constexpr PixelDigits::Measures kSmall{1, 4, 7, 1};
constexpr PixelDigits::Measures kLarge{3, 9, 15, 2};

/// The painted pixels: a line for each row, a hash for each pixel.
QStringList drawn(const QString &text, const PixelDigits::Measures &measures = kSmall)
{
    const PixelDigits digits(measures);
    const QSize size = digits.size(text);
    QImage image(size + QSize(2, 2), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    digits.paint(&painter, text, {1, 1}, Qt::white);
    painter.end();
    QStringList lines;
    for (int y = 0; y < image.height(); ++y) {
        QString line;
        for (int x = 0; x < image.width(); ++x)
            line += QLatin1Char(qAlpha(image.pixel(x, y)) == 0 ? '.' : qAlpha(image.pixel(x, y)) == 255 ? '#' : '?');
        lines.append(line);
    }
    return lines;
}

} // namespace

class PixelDigitsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldDrawWhatCanBeRead()
    {
        const QStringList twelve{QStringLiteral("........."), QStringLiteral("..#.####."), QStringLiteral(".##....#."),
            QStringLiteral("..#....#."), QStringLiteral("..#.####."), QStringLiteral("..#.#...."),
            QStringLiteral("..#.#...."), QStringLiteral("..#.####."), QStringLiteral(".........")};
        QCOMPARE(drawn(QStringLiteral("12")), twelve);
        const QStringList fourPlus{QStringLiteral(".........."), QStringLiteral(".#..#....."),
            QStringLiteral(".#..#....."), QStringLiteral(".#..#..#.."), QStringLiteral(".####.###."),
            QStringLiteral("....#..#.."), QStringLiteral("....#....."), QStringLiteral("....#....."),
            QStringLiteral("..........")};
        QCOMPARE(drawn(QStringLiteral("4+")), fourPlus);
    }

    void shouldDrawEachCharacterInItsOwnWay()
    {
        const QString characters = QStringLiteral("0123456789+");
        QSet<QString> pictures;
        for (const QChar character : characters)
            pictures.insert(drawn(character).join(QLatin1Char('\n')));
        QCOMPARE(pictures.size(), characters.size());
    }

    void shouldStaySharpAtEveryMeasure()
    {
        for (const auto &measures : {kSmall, kLarge, PixelDigits::Measures{2, 6, 10, 1}}) {
            const QString picture = drawn(QStringLiteral("0123456789+"), measures).join(QString());
            QVERIFY(!picture.contains(QLatin1Char('?')));
            QVERIFY(picture.contains(QLatin1Char('#')));
        }
    }

    void shouldFillTheRoomThatItTakesAndNoMore()
    {
        for (const auto &measures : {kSmall, kLarge}) {
            const QStringList lines = drawn(QStringLiteral("89"), measures);
            QVERIFY(!lines.first().contains(QLatin1Char('#')));
            QVERIFY(!lines.last().contains(QLatin1Char('#')));
            QCOMPARE(lines.at(1).count(QLatin1Char('#')), 2 * measures.width);
            QVERIFY(lines.at(1).startsWith(QLatin1String(".#")));
            QVERIFY(lines.at(1).endsWith(QLatin1String("#.")));
        }
    }

    void shouldPassOverWhatItCannotDraw()
    {
        const PixelDigits digits(kSmall);
        QCOMPARE(digits.size(QStringLiteral("a3 4")), digits.size(QStringLiteral("34")));
        QCOMPARE(drawn(QStringLiteral("a3 4")), drawn(QStringLiteral("34")));
        QCOMPARE(digits.size(QString()), QSize(0, 7));
        QCOMPARE(digits.size(QStringLiteral("٣")), QSize(0, 7));
    }
};

VELMORA_WIDGET_TEST(PixelDigitsTest)
#include "pixel_digits_test.moc"
