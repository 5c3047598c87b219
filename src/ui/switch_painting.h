// SPDX-License-Identifier: MIT
#pragma once

#include <QPalette>
#include <QRectF>
#include <QSize>

class QFontMetrics;
class QPainter;

namespace velmora
{

/// How a switch looks at the moment.
struct SwitchLook {
    bool isOn = false;
    bool isEnabled = true;
    bool isPressed = false;
    bool isHovered = false;
    bool hasFocus = false; ///< a ring around it tells so
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// The room that a switch takes beside text of these metrics, its focus ring included.
[[nodiscard]] QSize switchSize(const QFontMetrics &metrics);

/// Paints a switch of switchSize() into `frame` in the colours of the palette. On and off differ by three things, of
/// which colour is only one: the side of the knob, its size, and whether the track is filled.
void paintSwitch(QPainter *painter, const QRectF &frame, const SwitchLook &look, const QPalette &palette);

/// The ring that tells where the keyboard acts.
[[nodiscard]] QColor focusColour(const QPalette &palette);

} // namespace velmora
