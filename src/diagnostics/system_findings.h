// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/probe.h"

namespace velmora
{

/// The program, its libraries and the system. Does not block.
[[nodiscard]] QList<Finding> programFindings(bool isInsideFlatpak);

/// The session as described by the environment.
[[nodiscard]] QList<Finding> sessionFindings();

} // namespace velmora
