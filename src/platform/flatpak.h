// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// Whether this process runs inside a Flatpak and must use portals. `marker` is the file that exists only in a Flatpak.
[[nodiscard]] bool isInsideFlatpak(const QString &marker = QStringLiteral("/.flatpak-info"));

} // namespace velmora
