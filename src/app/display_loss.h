// SPDX-License-Identifier: MIT
#pragma once

#include <QDeadlineTimer>

#include <functional>

namespace velmora
{

/// Handles events on the main thread until the condition holds or the time is over. For the middle of an event in which
/// the display was found to be lost: events of the display are left out, since the toolkit would end the process.
///
/// The condition is evaluated after events, and several times a second.
void handleEventsWithoutDisplay(const std::function<bool()> &condition, QDeadlineTimer end);

} // namespace velmora
