// SPDX-License-Identifier: MIT
#include "ui/window/window_placement.h"

#include <algorithm>

namespace velmora
{

namespace
{

/// The vertical distance of the window from a click inside the free area: half a large icon.
constexpr int kClearance = 16;

const ScreenArea *screenAt(const QList<ScreenArea> &screens, QPoint point)
{
    const auto found
        = std::ranges::find_if(screens, [point](const auto &screen) { return screen.geometry.contains(point); });
    return found == screens.end() ? nullptr : &*found;
}

/// The area without panels, or the whole screen if panels claim all of it.
QRect usablePart(const ScreenArea &screen)
{
    const QRect usable = screen.available & screen.geometry;
    return usable.isEmpty() ? screen.geometry : usable;
}

/// The area without a strip along its edge, or all of it if it is too small for one.
QRect withoutEdge(const QRect &area, int strip)
{
    const QRect inner = area.adjusted(strip, strip, -strip, -strip);
    return inner.isEmpty() ? area : inner;
}

QRect within(const QRect &area, QPoint corner, QSize size)
{
    const int x = std::clamp(corner.x(), area.left(), area.right() + 1 - size.width());
    const int y = std::clamp(corner.y(), area.top(), area.bottom() + 1 - size.height());
    return {QPoint(x, y), size};
}

/// The panel is on the side on which the click lies outside the free area.
QPoint cornerBeside(const QRect &free, QPoint click, QSize size)
{
    const int centredX = click.x() - size.width() / 2;
    const int centredY = click.y() - size.height() / 2;
    if (click.y() < free.top())
        return {centredX, free.top()};
    if (click.y() > free.bottom())
        return {centredX, free.bottom() + 1 - size.height()};
    if (click.x() < free.left())
        return {free.left(), centredY};
    if (click.x() > free.right())
        return {free.right() + 1 - size.width(), centredY};
    // A panel that floats or hides itself claims no space: open away from the nearer edge.
    const bool isUpperHalf = click.y() <= free.center().y();
    return {centredX, isUpperHalf ? click.y() + kClearance : click.y() - kClearance - size.height()};
}

/// Trays are at the end of a panel. With several panels, assume the one at the top or the bottom.
QPoint cornerOfTray(const ScreenArea &screen, const QRect &free, QSize size, Qt::LayoutDirection direction)
{
    const bool isTop = free.top() > screen.geometry.top();
    const bool isBottom = !isTop && free.bottom() < screen.geometry.bottom();
    const bool isLeft = free.left() > screen.geometry.left();
    const bool isRight = !isLeft && free.right() < screen.geometry.right();
    const int nearX = free.left();
    const int farX = free.right() + 1 - size.width();
    const int lowY = free.bottom() + 1 - size.height();
    const int endX = direction == Qt::RightToLeft ? nearX : farX;
    if (isTop)
        return {endX, free.top()};
    if (isBottom)
        return {endX, lowY};
    if (isLeft || isRight)
        return {isLeft ? nearX : farX, lowY};
    return {endX, free.top()};
}

} // namespace

QRect placedWindow(const PlacementRequest &request)
{
    if (request.screens.isEmpty())
        return {QPoint(), request.size};
    const auto *const clicked = request.anchor ? screenAt(request.screens, *request.anchor) : nullptr;
    const auto *const pointed = screenAt(request.screens, request.pointer);
    const ScreenArea &screen = clicked ? *clicked : pointed ? *pointed : request.screens.constFirst();
    const QRect free = usablePart(screen);
    const QRect room = withoutEdge(free, request.gap);
    const QSize size = request.size.shrunkBy(request.shadow).boundedTo(room.size());
    const QPoint corner
        = clicked ? cornerBeside(free, *request.anchor, size) : cornerOfTray(screen, free, size, request.direction);
    return within(room, corner, size).marginsAdded(request.shadow);
}

} // namespace velmora
