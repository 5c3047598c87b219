// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_monitor_state.h"
#include "notifications/deployment_notification.h"

#include <QByteArray>
#include <QList>

#include <optional>

namespace velmora
{

/// Everything that `watch` and `status` tell of the deployments at one moment.
struct MonitorReport {
    QString applicationName; ///< as the application names itself
    DeploymentMonitorState state;
    QList<DeploymentSnapshot> deployments;
    std::optional<Instant> lastRefreshedAt;
    QString message; ///< a line for each identity that failed
    QString hint; ///< what the person can do about an empty list
    std::optional<Instant> savedAt; ///< of saved data: since when

    friend bool operator==(const MonitorReport &, const MonitorReport &) = default;
};

/// Whether a report is of what the monitor publishes, or of what it has saved.
enum class ReportOrigin {
    Live,
    Saved,
};

/// The report as one line of JSON, without the line break. Instants are ISO 8601 texts in UTC; what is absent is
/// left out. Of saved data it says so.
[[nodiscard]] QByteArray jsonLine(const MonitorReport &report, ReportOrigin origin);

/// The notification as one line of JSON, without the line break.
[[nodiscard]] QByteArray jsonLine(const DeploymentNotification &notification);

} // namespace velmora
