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

/// Shows what `watch` sees.
class WatchDisplay : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The report that holds from now on.
    virtual void show(const MonitorReport &report) = 0;
    /// A result is announced.
    virtual void announce(const DeploymentNotification &notification) = 0;

Q_SIGNALS:
    /// The person pressed the key that ends the program.
    void quitRequested();
};

/// How `watch` prints.
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
