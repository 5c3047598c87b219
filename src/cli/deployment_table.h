// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QStringList>

namespace velmora
{

/// The properties of the output.
struct TableStyle {
    int width = 80;
    int height = 0; ///< at most this many lines; 0: no limit
    bool isColoured = false;
};

/// The report as lines for a terminal, none wider than the style allows: status, messages, the `announcements`, and the
/// deployments in their sections. Foreign text cannot control the terminal.
[[nodiscard]] QStringList renderReport(
    const MonitorReport &report, const QStringList &announcements, Instant now, const TableStyle &style);

/// The changes between two reports for output that cannot be redrawn: a line for each deployment that is new or has
/// another state, for the status and for its messages.
[[nodiscard]] QStringList renderChanges(const MonitorReport &previous, const MonitorReport &report);

[[nodiscard]] QString announcementText(const DeploymentNotification &notification);

/// A table as lines: the header above the rows, each column as wide as its widest text.
[[nodiscard]] QStringList renderColumns(const QStringList &header, const QList<QStringList> &rows);

} // namespace velmora
