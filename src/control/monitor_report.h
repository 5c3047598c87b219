// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_monitor_state.h"
#include "monitor/failure_marks.h"
#include "notifications/deployment_notification.h"

#include <QList>

#include <optional>

namespace velmora
{

/// What a terminal shows about the deployments at one moment.
struct MonitorReport {
    bool isSaved = false; ///< shows what was saved; otherwise what the monitor publishes
    QString applicationName; ///< the display name of the application
    DeploymentMonitorState state;
    DeploymentList deployments;
    FailureMarks marks; ///< of the deployments
    DeploymentList hidden; ///< what the user has hidden by choices about environments
    std::optional<Instant> lastRefreshedAt;
    QString message; ///< a line for each identity that failed
    std::optional<QString> unsaved; ///< a line for each file that could not be saved
    QString hint; ///< what the user can do about an empty list
    std::optional<Instant> savedAt; ///< the time of saving, for saved data

    bool isPaused = false; ///< nothing is announced
    std::optional<Instant> pausedUntil; ///< when that ends; absent: when the user resumes it

    friend bool operator==(const MonitorReport &, const MonitorReport &) = default;
};

} // namespace velmora
