// SPDX-License-Identifier: MIT
#include "github/paused_error.h"

#include <QDateTime>

namespace velmora
{

QString PausedError::description() const
{
    const auto minute = std::chrono::ceil<std::chrono::minutes>(m_until);
    const auto time = QDateTime::fromSecsSinceEpoch(std::chrono::seconds(minute.time_since_epoch()).count());
    return QStringLiteral("GitHub asks to wait until %1.").arg(time.toString(QStringLiteral("HH:mm")));
}

} // namespace velmora
