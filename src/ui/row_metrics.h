// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

// What the rows and headers of the list share, in device independent pixels.

/// From the edge of the list to what stands in it.
inline constexpr int kRowMargin = 14;
/// Between two things beside each other.
inline constexpr int kRowGap = 8;
/// The width of the column of state icons, and the side of an icon.
inline constexpr int kIconColumn = 16;
inline constexpr int kIconSide = 16;

} // namespace velmora
