// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// The meaning of a colour. toneColour() picks the shade for the background.
enum class Tone {
    Primary, ///< ordinary text
    Secondary, ///< less important text
    Orange,
    Blue,
    Green,
    Red,
};

} // namespace velmora
