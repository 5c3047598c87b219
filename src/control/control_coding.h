// SPDX-License-Identifier: MIT
#pragma once

#include "control/control_answers.h"
#include "control/monitor_report.h"
#include "support/json.h"

namespace velmora
{

// The records that two Velmora processes exchange. encodeJSON() and decodeJSON() take QList<ListedAccount>,
// RemovalAnswer, LoadingAnswer, InstallationsAnswer, RepositoriesAnswer, MonitorReport and DeploymentNotification,
// without any loss.

} // namespace velmora
