// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_monitor_state.h"
#include "notifications/deployment_notification.h"

#include <QByteArray>
#include <QList>

#include <optional>

namespace velmora
{

/// Whether a report shows what the monitor publishes, or what was saved.
enum class ReportOrigin {
    Live,
    Saved,
};

/// What a terminal shows about the deployments at one moment.
struct MonitorReport {
    ReportOrigin origin = ReportOrigin::Live;
    QString applicationName; ///< the display name of the application
    DeploymentMonitorState state;
    QList<DeploymentSnapshot> deployments;
    std::optional<Instant> lastRefreshedAt;
    QString message; ///< a line for each identity that failed
    std::optional<QString> unsaved; ///< a line for each file that could not be saved
    QString hint; ///< what the user can do about an empty list
    std::optional<Instant> savedAt; ///< the time of saving, for saved data

    friend bool operator==(const MonitorReport &, const MonitorReport &) = default;
};

/// The title of the tray item: the number of active deployments, or the application's name if there is none.
[[nodiscard]] QString titleOf(const MonitorReport &report);

} // namespace velmora
