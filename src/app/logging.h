// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

class Terminal;

/// Sends the log to the terminal, which is borrowed until stopLogging(): warnings and worse, and everything of
/// Velmora's own categories when `isVerbose`.
void startLogging(Terminal *terminal, bool isVerbose);
void stopLogging();

} // namespace velmora
