// SPDX-License-Identifier: MIT
#pragma once

#include <QMargins>

class QPainter;
class QRect;

namespace velmora
{

/// How far the shadow of a window reaches beyond it.
[[nodiscard]] QMargins shadowMargins();

/// Draws the soft shadow of an opaque window that covers this area. It falls a little below the window.
void paintShadow(QPainter *painter, const QRect &window);

} // namespace velmora
