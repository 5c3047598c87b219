// SPDX-License-Identifier: MIT
#include "platform/linux/flatpak.h"

#include <QFileInfo>

namespace velmora
{

bool isInsideFlatpak(const QString &marker)
{
    return QFileInfo::exists(marker);
}

} // namespace velmora
