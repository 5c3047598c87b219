// SPDX-License-Identifier: MIT
#pragma once

#include "http/proxy.h"

namespace velmora
{

/// The proxy that the settings of the desktop name for the address: of those that they list, the first that can be
/// used. May load a script from the network and run it, which takes any time. Call it from one thread only, not the
/// main one.
[[nodiscard]] Proxy systemProxy(const QUrl &url);

} // namespace velmora
