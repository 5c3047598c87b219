// SPDX-License-Identifier: MIT
#include "platform/flatpak.h"

#include <QFileInfo>

namespace velmora
{

bool isInsideFlatpak(const QString &marker)
{
    return QFileInfo::exists(marker);
}

} // namespace velmora
