// SPDX-License-Identifier: MIT
#pragma once

#include <QProcessEnvironment>

namespace velmora
{

/// Whether the desktop draws frames around windows: a title, a border and a button to close. Compositors that speak
/// Wayland may leave that to the programs, as GNOME's does. The first call asks the compositor, over a connection of
/// its own; what it says holds for the life of the process.
[[nodiscard]] bool desktopDrawsFrames();

/// Keeps Qt from drawing frames around the windows of this process. Call it before any thread and any window.
void switchOffQtFrames();
/// The environment of this process without what switchOffQtFrames() has set, for programs that are started from here.
[[nodiscard]] QProcessEnvironment environmentWithQtFrames();

} // namespace velmora
