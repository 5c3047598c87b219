// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/findings.h"

namespace velmora
{

/// The program, the libraries and the system that it runs on. Nothing here waits.
[[nodiscard]] QList<Finding> programFindings(bool isInsideFlatpak);

/// The session as the environment describes it.
[[nodiscard]] QList<Finding> sessionFindings();

} // namespace velmora
