// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

class Terminal;

/// Writes the log to the terminal, which outlives stopLogging(): warnings and worse, and everything of Velmora's own
/// categories when `isVerbose`.
void startLogging(Terminal *terminal, bool isVerbose);
/// Gives the log back to the toolkit.
void stopLogging();

} // namespace velmora
