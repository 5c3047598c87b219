// SPDX-License-Identifier: MIT
#include "ui/appearance/application_look.h"
#include "ui/controls/tones.h"

#include "support/palettes.h"
#include "support/test_main.h"

#include <QTest>

#include <cmath>

using namespace velmora;
using namespace velmora::testing;

namespace
{

constexpr std::array kTones{Tone::Primary, Tone::Secondary, Tone::Orange, Tone::Blue, Tone::Green, Tone::Red};

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &colour)
{
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// From 1 (equal) to 21 (black on white).
double contrast(const QColor &one, const QColor &other)
{
    const double light = std::max(luminance(one), luminance(other));
    const double dark = std::min(luminance(one), luminance(other));
    return (light + 0.05) / (dark + 0.05);
}

} // namespace

class TonesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyToneCanBeReadOnEveryBackground_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << lightPalette();
        QTest::newRow("dark") << darkPalette();
        for (const bool isHighContrast : {false, true}) {
            const char *contrast = isHighContrast ? "high" : "usual";
            QTest::addRow("own light, %s contrast", contrast) << ownPalette(Appearance::Scheme::Light, isHighContrast);
            QTest::addRow("own dark, %s contrast", contrast) << ownPalette(Appearance::Scheme::Dark, isHighContrast);
        }
    }

    void everyToneCanBeReadOnEveryBackground()
    {
        QFETCH(QPalette, palette);
        for (const Tone tone : kTones) {
            const QColor colour = toneColour(tone, palette);
            for (const QColor &background :
                {palette.color(QPalette::Base), palette.color(QPalette::Window), hoverColour(palette)}) {
                const double ratio = contrast(colour, background);
                QVERIFY2(ratio >= 4.5,
                    qPrintable(QStringLiteral("%1 on %2: %3").arg(colour.name(), background.name()).arg(ratio)));
            }
        }
    }

    void tonesDifferFromEachOther()
    {
        for (const auto &palette : {lightPalette(), darkPalette()}) {
            QSet<QRgb> colours;
            for (const Tone tone : kTones)
                colours.insert(toneColour(tone, palette).rgb());
            QCOMPARE(colours.size(), static_cast<qsizetype>(kTones.size()));
        }
    }

    void aRowUnderTheMouseIsLitAndMoreSoWhenPressed()
    {
        for (const auto &palette : {lightPalette(), darkPalette()}) {
            const QColor base = palette.color(QPalette::Base);
            QVERIFY(contrast(hoverColour(palette), base) > 1.04);
            QVERIFY(contrast(pressedColour(palette), base) > contrast(hoverColour(palette), base));
            QVERIFY(contrast(separatorColour(palette), base) > 1.2);
        }
    }
};

VELMORA_TEST(TonesTest)
#include "tones_test.moc"
