// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "monitor/deployment_monitor_state.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The line below the title: the state of the monitor. Times are in the user's zone and locale.
[[nodiscard]] QString statusText(const DeploymentMonitorState &state, const DeploymentList &deployments);

} // namespace velmora
