// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// What the system's monitor says of the network: "full", "limited", "behind a portal" or "this machine only". May wait
/// for a service of the system, so it belongs on a thread of its own.
[[nodiscard]] QString networkConnectivity();

} // namespace velmora
