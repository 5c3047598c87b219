// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "monitor/deployment_monitor_state.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The line under the title: how the monitor stands, in words. Times are in the person's zone and locale.
[[nodiscard]] QString statusText(const DeploymentMonitorState &state, const QList<DeploymentSnapshot> &deployments);

} // namespace velmora
