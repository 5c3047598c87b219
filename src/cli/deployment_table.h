// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QStringList>

namespace velmora
{

/// What the terminal has to offer.
struct TableStyle {
    int width = 80;
    int height = 0; ///< lines at most; 0: as many as there are
    bool isColoured = false;
};

/// The report as lines for a terminal, none wider than the style allows: how things stand, messages, the
/// `announcements`, and the deployments in their sections. All text is harmless.
[[nodiscard]] QStringList renderReport(
    const MonitorReport &report, const QStringList &announcements, Instant now, const TableStyle &style);

/// What became of the deployments between two reports, one line each, for a stream that cannot be
/// written over: deployments that are new or have another state, the state of the whole and its messages.
[[nodiscard]] QStringList renderChanges(const MonitorReport &previous, const MonitorReport &report);

/// The notification as one line.
[[nodiscard]] QString announcementText(const DeploymentNotification &notification);

/// The rows below the header, each column as wide as its widest text, as lines.
[[nodiscard]] QStringList renderColumns(const QStringList &header, const QList<QStringList> &rows);

} // namespace velmora
