// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPalette>

namespace velmora
{

/// What a colour says; which shade says it depends on the background.
enum class Tone {
    Primary, ///< ordinary text
    Secondary, ///< text that steps back
    Orange,
    Blue,
    Green,
    Red,
};

/// The shade of a tone that reads well as text on the palette's window and base, light or dark.
[[nodiscard]] QColor toneColour(Tone tone, const QPalette &palette);

/// A line between two things, and the light behind a row under the mouse or under a pressed button.
[[nodiscard]] QColor separatorColour(const QPalette &palette);
[[nodiscard]] QColor hoverColour(const QPalette &palette);
[[nodiscard]] QColor pressedColour(const QPalette &palette);

} // namespace velmora
