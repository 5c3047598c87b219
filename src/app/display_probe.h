// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// Whether a connection to the display of the environment can be opened. The toolkit ends the program where
/// it cannot, so a process of its own, started with "--is-display-usable", has to try. Blocks for
/// the time that takes, at most three seconds; for the start of the program.
[[nodiscard]] bool isDisplayUsable();

} // namespace velmora
