// SPDX-License-Identifier: MIT
#pragma once

#include <QPalette>

namespace velmora::testing
{

/// Palettes like those of common desktops.
inline QPalette lightPalette()
{
    QPalette palette(QColor(0xef, 0xef, 0xef));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, QColor(0x1c, 0x1c, 0x1c));
    palette.setColor(QPalette::WindowText, QColor(0x1c, 0x1c, 0x1c));
    return palette;
}

inline QPalette darkPalette()
{
    QPalette palette(QColor(0x2b, 0x2d, 0x30));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x21, 0x23));
    palette.setColor(QPalette::Text, QColor(0xec, 0xec, 0xec));
    palette.setColor(QPalette::WindowText, QColor(0xec, 0xec, 0xec));
    palette.setColor(QPalette::ButtonText, QColor(0xec, 0xec, 0xec));
    return palette;
}

} // namespace velmora::testing
