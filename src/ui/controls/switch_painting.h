// SPDX-License-Identifier: MIT
#pragma once

#include <QPalette>
#include <QRectF>
#include <QSize>

class QFontMetrics;
class QPainter;

namespace velmora
{

/// The state that a switch is drawn in.
struct SwitchLook {
    bool isOn = false;
    bool isEnabled = true;
    bool isPressed = false;
    bool isHovered = false;
    bool hasFocus = false; ///< draws a ring around it
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// The size of a switch beside text of these metrics, including the focus ring.
[[nodiscard]] QSize switchSize(const QFontMetrics &metrics);

/// Paints a switch of switchSize() into `frame` in the colours of the palette. On and off also differ without colour:
/// in the side of the knob, its size, and whether the track is filled.
void paintSwitch(QPainter *painter, const QRectF &frame, const SwitchLook &look, const QPalette &palette);

/// The colour of the focus ring.
[[nodiscard]] QColor focusColour(const QPalette &palette);

} // namespace velmora
