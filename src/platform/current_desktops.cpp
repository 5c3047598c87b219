// SPDX-License-Identifier: MIT
#include "platform/current_desktops.h"

namespace velmora
{

QStringList currentDesktops()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

} // namespace velmora
