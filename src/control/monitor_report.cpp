// SPDX-License-Identifier: MIT
#include "control/monitor_report.h"

#include "monitor/presentation.h"

namespace velmora
{

QString titleOf(const MonitorReport &report)
{
    const DeploymentMonitorPresentation shown = presentation(report.state, report.deployments);
    return shown.activeCount > 0 ? shown.title() : report.applicationName;
}

} // namespace velmora
