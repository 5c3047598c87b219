// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMargins>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

namespace velmora
{

/// A screen in global coordinates.
struct ScreenArea {
    QRect geometry;
    QRect available; ///< without the panels
};

/// The input of placedWindow().
struct PlacementRequest {
    QSize size; ///< wanted by the window
    std::optional<QPoint> anchor; ///< the place of the click at the item
    QPoint pointer;
    QList<ScreenArea> screens; ///< the primary one first
    Qt::LayoutDirection direction = Qt::LeftToRight;
    QMargins shadow = {}; ///< the outer part of the window, which only is its shadow
    int gap = 0; ///< between the window, without its shadow, and the panels and ends of the screen
};

/// Where the window goes: beside the panel at the click or, without one, in the likely corner of the tray on the screen
/// with the pointer. Without its shadow the window stays within the available area of that screen, and shrinks to fit.
/// Without screens it has the wanted size at the origin.
[[nodiscard]] QRect placedWindow(const PlacementRequest &request);

} // namespace velmora
