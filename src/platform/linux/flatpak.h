// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// Whether this process runs inside a Flatpak, where the desktop is reached through portals. `marker` is the file that
/// only a Flatpak has.
[[nodiscard]] bool isInsideFlatpak(const QString &marker = QStringLiteral("/.flatpak-info"));

} // namespace velmora
