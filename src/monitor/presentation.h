// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "monitor/deployment_monitor_state.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The monitor's state in one value, from which the tray item and the terminal's first line are made.
struct DeploymentMonitorPresentation {
    DeploymentMonitorState::Case state = DeploymentMonitorState::Case::Loading;
    /// Of Ready: listed deployments that are under way, and that failed. Else 0.
    qsizetype activeCount = 0;
    qsizetype failedCount = 0;

    /// The name of the symbol.
    [[nodiscard]] QString symbol() const;
    /// The number of active deployments where there is one, else the name of the application.
    [[nodiscard]] QString title() const;

    friend bool operator==(const DeploymentMonitorPresentation &, const DeploymentMonitorPresentation &) = default;
};

[[nodiscard]] DeploymentMonitorPresentation presentation(
    const DeploymentMonitorState &state, const QList<DeploymentSnapshot> &deployments);

} // namespace velmora
