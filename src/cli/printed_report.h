// SPDX-License-Identifier: MIT
#pragma once

#include "control/control_records.h"
#include "control/monitor_report.h"

#include <QByteArray>

namespace velmora
{

/// The title of the tray item: the number of active deployments, or the application's name if there is none.
[[nodiscard]] QString titleOf(const MonitorReport &report);

/// The report as one line of JSON without the line break. Instants are ISO 8601 texts in UTC; absent values are left
/// out. "saved" and "savedAt" are present for saved data only, "paused" during a pause, "elapsedSeconds" for what is
/// under way at `now`, "mendedBy" and "mendedAt" for a failure that is mended, and "hidden", the number of deployments
/// that the user has hidden, where there are any.
[[nodiscard]] QByteArray jsonLine(const MonitorReport &report, Instant now);

/// A deployment as in the report, as one line of JSON without the line break.
[[nodiscard]] QByteArray jsonLine(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark = {});

/// The failures as one line of JSON, without the line break: "ignoresMended", and "deployments" as in the report.
[[nodiscard]] QByteArray jsonLine(const FailuresAnswer &answer, Instant now);

/// "repository", "muted" and "mutedUntil" as one line of JSON, without the line break.
[[nodiscard]] QByteArray jsonLine(const MutingAnswer &answer);

/// "paused" and "pausedUntil" as one line of JSON, without the line break.
[[nodiscard]] QByteArray jsonLine(const PauseAnswer &answer);

/// The notification as one line of JSON, without the line break.
[[nodiscard]] QByteArray jsonLine(const DeploymentNotification &notification);

} // namespace velmora
