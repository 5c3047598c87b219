// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_monitor_state.h"
#include "notifications/deployment_notification.h"

#include <QByteArray>
#include <QList>

#include <optional>

namespace velmora
{

/// Whether a report is of what the monitor publishes, or of what it has saved.
enum class ReportOrigin {
    Live,
    Saved,
};

/// Everything that a terminal tells of the deployments at one moment.
struct MonitorReport {
    ReportOrigin origin = ReportOrigin::Live;
    QString applicationName; ///< as the application names itself
    DeploymentMonitorState state;
    QList<DeploymentSnapshot> deployments;
    std::optional<Instant> lastRefreshedAt;
    QString message; ///< a line for each identity that failed
    std::optional<QString> unsaved; ///< a line for each file that could not be saved
    QString hint; ///< what the person can do about an empty list
    std::optional<Instant> savedAt; ///< of saved data: since when

    friend bool operator==(const MonitorReport &, const MonitorReport &) = default;
};

/// What the tray item would say: the number of active deployments where there is one, else the application's name.
[[nodiscard]] QString titleOf(const MonitorReport &report);

} // namespace velmora
