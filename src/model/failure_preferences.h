// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// The preference by which failures no longer count once a later success has mended them. A missing value counts as
/// off.
inline constexpr auto kIgnoresMendedPreference = "general.ignoresMendedFailures";

} // namespace velmora
