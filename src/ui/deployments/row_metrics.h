// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

// Measures shared by rows and headers of the list, in device independent pixels.

/// From the edge of the list to its content.
inline constexpr int kRowMargin = 12;
/// Between two neighbouring items of a row.
inline constexpr int kRowGap = 8;
/// The width of the column of state icons, and the side of an icon.
inline constexpr int kIconColumn = 16;
inline constexpr int kIconSide = 16;

} // namespace velmora
