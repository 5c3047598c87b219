// SPDX-License-Identifier: MIT
#pragma once

#include <QMargins>

class QWindow;

namespace velmora
{

/// Whether the desktop blends windows with what is behind them, so that they may be transparent in parts. True on
/// Wayland; on X11 while a compositor runs, which may change.
[[nodiscard]] bool desktopBlendsWindows();

/// Tells the desktop which part of a window, all around it, is only its shadow: clicks there go to what is behind, and
/// on X11 the window stands where the rest of it is. Call it before the window is shown, and again once it is drawn in
/// another size.
void setShadowMargins(QWindow *window, const QMargins &margins);

} // namespace velmora
