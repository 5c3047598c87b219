// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QByteArray>

namespace velmora
{

/// The report as one line of JSON, without the line break. Instants are ISO 8601 texts in UTC; what is absent is
/// left out. Of saved data it says so.
[[nodiscard]] QByteArray jsonLine(const MonitorReport &report);

/// The notification as one line of JSON, without the line break.
[[nodiscard]] QByteArray jsonLine(const DeploymentNotification &notification);

} // namespace velmora
