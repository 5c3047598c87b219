// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// The state of the network according to the system: "full", "limited", "behind a portal", "this machine only" or
/// "unknown". May block on a system service, so call it on another thread.
[[nodiscard]] QString networkConnectivity();

} // namespace velmora
