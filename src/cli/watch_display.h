// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QObject>

#include <memory>

namespace velmora
{

class Clock;
class Terminal;
class TerminalEvents;

/// The output of `watch`.
class WatchDisplay : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Shows the current report.
    virtual void show(const MonitorReport &report) = 0;
    /// Shows an announced result.
    virtual void announce(const DeploymentNotification &notification) = 0;

Q_SIGNALS:
    /// The user pressed the key that ends the program.
    void quitRequested();
};

/// The output formats of `watch`.
enum class WatchFormat {
    Live, ///< a picture that is redrawn in its place
    Plain, ///< a line for each change
    Table, ///< the whole table for each report
    JSON, ///< a line of JSON for each change
};

/// The pointers are not owned and outlive the display.
[[nodiscard]] std::unique_ptr<WatchDisplay> makeWatchDisplay(
    WatchFormat format, Terminal *out, Terminal *err, TerminalEvents *events, Clock *clock);

} // namespace velmora
