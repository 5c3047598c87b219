// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

namespace velmora
{

/// The names of the desktop of this session, the most precise first, as in XDG_CURRENT_DESKTOP.
[[nodiscard]] QStringList currentDesktops();

} // namespace velmora
