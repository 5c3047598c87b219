// SPDX-License-Identifier: MIT
#include "platform/x11_display.h"

#include <QGuiApplication>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace velmora
{

xcb_connection_t *x11Connection()
{
    const auto *const x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

xcb_window_t x11Root(xcb_connection_t *connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t x11Atom(xcb_connection_t *connection, const char *name)
{
    const auto length = static_cast<std::uint16_t>(std::string_view(name).size());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, length, name), nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

} // namespace velmora
