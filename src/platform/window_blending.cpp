// SPDX-License-Identifier: MIT
#include "platform/window_blending.h"

#include "platform/x11_display.h"

#include <QGuiApplication>
#include <QWindow>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <xcb/shape.h>

namespace velmora
{

namespace
{

/// A compositor owns it while it runs.
constexpr auto kCompositor = "_NET_WM_CM_S0";
/// What is not the window's, from the left, right, top and bottom.
constexpr auto kExtents = "_GTK_FRAME_EXTENTS";

bool isOnWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QMargins inPixels(const QMargins &points, qreal scale)
{
    return (QMarginsF(points) * scale).toMargins();
}

/// Qt's own mask would cut the shadow off as well.
void takeClicks(xcb_connection_t *connection, xcb_window_t window, const QRect &place)
{
    const xcb_rectangle_t inside{static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()),
        static_cast<std::uint16_t>(place.width()), static_cast<std::uint16_t>(place.height())};
    xcb_shape_rectangles(
        connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 1, &inside);
}

void setOnX11(xcb_connection_t *connection, const QWindow &window, const QMargins &margins)
{
    const auto id = static_cast<xcb_window_t>(window.winId());
    const auto number = [](int pixels) {
        return static_cast<std::uint32_t>(pixels);
    };
    const std::array extents{
        number(margins.left()), number(margins.right()), number(margins.top()), number(margins.bottom())};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, x11Atom(connection, kExtents), XCB_ATOM_CARDINAL, 32,
        extents.size(), extents.data());
    const QSize size = (QSizeF(window.size()) * window.devicePixelRatio()).toSize();
    takeClicks(connection, id, QRect(QPoint(), size).marginsRemoved(margins));
}

} // namespace

bool desktopBlendsWindows()
{
    xcb_connection_t *const connection = x11Connection();
    if (!connection)
        return isOnWayland();
    const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
        xcb_get_selection_owner_reply(
            connection, xcb_get_selection_owner(connection, x11Atom(connection, kCompositor)), nullptr),
        &std::free);
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void setShadowMargins(QWindow *window, const QMargins &margins)
{
    if (!window->handle())
        return;
    if (xcb_connection_t *const connection = x11Connection())
        setOnX11(connection, *window, inPixels(margins, window->devicePixelRatio()));
    else if (isOnWayland())
        window->setMask(QRect(QPoint(), window->size()).marginsRemoved(margins));
}

} // namespace velmora
