// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// Whether a connection to the display of the environment can be opened. The toolkit ends a process that cannot open
/// it, so another process, started with "--is-display-usable", tries. Blocks for at most three seconds; for the start
/// of the program.
[[nodiscard]] bool isDisplayUsable();

/// Whether the environment names a display at all.
[[nodiscard]] bool isDisplayNamed();

/// From now on a fatal message of the toolkit, such as that a display cannot be reached, ends the program with code 1.
/// A line on standard error says what to do, and no core file is written.
void endQuietlyWithoutDisplay();

/// Writes to standard error that there is no display, and what works without one.
void reportNoDisplay();

} // namespace velmora
