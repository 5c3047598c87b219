// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

/// Whether a connection to the display of the environment can be opened. The toolkit ends the program where
/// it cannot, so a process of its own, started with "--is-display-usable", has to try. Blocks for
/// the time that takes, at most three seconds; for the start of the program.
[[nodiscard]] bool isDisplayUsable();

/// Whether the environment names a display at all.
[[nodiscard]] bool isDisplayNamed();

/// From now on a fatal message of the toolkit, such as that of a display that cannot be reached, ends the program with
/// code 1 after a line on standard error that says what to do, and leaves no core.
void endQuietlyWithoutDisplay();

/// Says that there is no display, and what works without one.
void reportNoDisplay();

} // namespace velmora
