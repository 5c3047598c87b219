// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

namespace velmora
{

/// A screen, in the coordinates that all screens share.
struct ScreenArea {
    QRect geometry;
    QRect available; ///< without the panels
};

/// What decides where the window behind the tray item goes.
struct PlacementRequest {
    QSize size; ///< that the window wants
    std::optional<QPoint> anchor; ///< the place of the click at the item
    QPoint pointer;
    QList<ScreenArea> screens; ///< the primary one first
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// Where the window goes: beside the panel at the place of the click, else in the corner where the tray of the screen
/// under the pointer is likely to be. It lies within the available part of one screen, and is smaller than wanted
/// where that part is. The wanted size at the origin when there is no screen.
[[nodiscard]] QRect placedWindow(const PlacementRequest &request);

} // namespace velmora
