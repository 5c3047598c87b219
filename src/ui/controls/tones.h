// SPDX-License-Identifier: MIT
#pragma once

#include "presentation/tone.h"

#include <QColor>
#include <QPalette>

namespace velmora
{

/// The shade of a tone that is legible as text on the palette's window and base, light or dark.
[[nodiscard]] QColor toneColour(Tone tone, const QPalette &palette);

/// Colours of separator lines, and of highlights behind rows and buttons under the mouse or pressed.
[[nodiscard]] QColor separatorColour(const QPalette &palette);
[[nodiscard]] QColor hoverColour(const QPalette &palette);
[[nodiscard]] QColor pressedColour(const QPalette &palette);

} // namespace velmora
