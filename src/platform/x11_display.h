// SPDX-License-Identifier: MIT
#pragma once

#include <xcb/xcb.h>

namespace velmora
{

/// Qt's connection to the X server; null on other platforms, and after the application's end.
[[nodiscard]] xcb_connection_t *x11Connection();
/// The root window of its screen.
[[nodiscard]] xcb_window_t x11Root(xcb_connection_t *connection);
/// The number of a name on the server, which learns a new one.
[[nodiscard]] xcb_atom_t x11Atom(xcb_connection_t *connection, const char *name);

} // namespace velmora
