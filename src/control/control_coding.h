// SPDX-License-Identifier: MIT
#pragma once

#include "control/control_answers.h"
#include "control/monitor_report.h"
#include "support/json.h"

namespace velmora
{

// What two Velmoras say to each other is JSON: encodeJSON() and decodeJSON() take QList<ListedAccount>, RemovalAnswer,
// LoadingAnswer, InstallationsAnswer, RepositoriesAnswer, MonitorReport and DeploymentNotification, without any loss.

} // namespace velmora
