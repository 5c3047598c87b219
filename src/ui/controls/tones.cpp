// SPDX-License-Identifier: MIT
#include "ui/controls/tones.h"

namespace velmora
{

namespace
{

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Base).lightnessF() < 0.5;
}

QColor mixed(const QColor &front, const QColor &back, float share)
{
    const float rest = 1 - share;
    return QColor::fromRgbF(front.redF() * share + back.redF() * rest, front.greenF() * share + back.greenF() * rest,
        front.blueF() * share + back.blueF() * rest);
}

QColor textShare(const QPalette &palette, float light, float dark)
{
    return mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), isDark(palette) ? dark : light);
}

} // namespace

QColor toneColour(Tone tone, const QPalette &palette)
{
    const bool dark = isDark(palette);
    switch (tone) {
    case Tone::Primary:
        return palette.color(QPalette::Text);
    case Tone::Secondary:
        return textShare(palette, 0.65F, 0.7F);
    case Tone::Orange:
        return dark ? QColor(0xf5, 0xa5, 0x42) : QColor(0xa8, 0x4f, 0x00);
    case Tone::Blue:
        return dark ? QColor(0x74, 0xb4, 0xff) : QColor(0x0b, 0x5c, 0xc9);
    case Tone::Green:
        return dark ? QColor(0x5c, 0xcb, 0x73) : QColor(0x14, 0x70, 0x2f);
    case Tone::Red:
        return dark ? QColor(0xff, 0x83, 0x7a) : QColor(0xc3, 0x21, 0x29);
    }
    Q_UNREACHABLE();
}

QColor separatorColour(const QPalette &palette)
{
    return textShare(palette, 0.12F, 0.17F);
}

QColor hoverColour(const QPalette &palette)
{
    return textShare(palette, 0.06F, 0.08F);
}

QColor pressedColour(const QPalette &palette)
{
    return textShare(palette, 0.12F, 0.15F);
}

} // namespace velmora
