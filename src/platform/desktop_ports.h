// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

class Clock;
class Pasteboard;
class URLOpener;

/// What most parts of the program use of the desktop. What the pointers name is not owned and outlives its users.
struct DesktopPorts {
    QString applicationName = QStringLiteral("Velmora"); ///< what the application calls itself
    Clock *clock = nullptr;
    Pasteboard *pasteboard = nullptr;
    URLOpener *urlOpener = nullptr;
};

} // namespace velmora
