// SPDX-License-Identifier: MIT
#pragma once

#include <QDeadlineTimer>

#include <functional>

namespace velmora
{

/// Handles the events of the main thread until the condition holds or the time is over, when the display has gone in
/// the middle of an event. What the display sends is left out: the toolkit answers it with the end of the process.
///
/// The condition is looked at after events, and several times a second.
void handleEventsWithoutDisplay(const std::function<bool()> &condition, QDeadlineTimer end);

} // namespace velmora
