// SPDX-License-Identifier: MIT
#pragma once

#include "control/report_source.h"

#include <functional>

namespace velmora
{

/// The two sides that can report: the Velmora that runs in the session, and this process while none runs. Only one is
/// used at a time, so that two processes never ask GitHub for the same.
struct ReportSides {
    ReportSource *running = nullptr; ///< not owned; outlives the following
    /// Creates the source of this process, which is used until `destroy` is called. May throw; a stop may end it with a
    /// CancellationError.
    std::function<QCoro::Task<ReportSource *>(std::stop_token)> create;
    /// Destroys that source, as far as it was created. The running Velmora is used when this has returned.
    std::function<QCoro::Task<>(std::stop_token)> destroy;
};

/// Where reports are shown. The functions are called until the task that has got them ends.
struct ReportView {
    std::function<void(const MonitorReport &)> show;
    std::function<void(const DeploymentNotification &)> announce;
};

/// Shows every report, and what is announced: by the running Velmora while there is one, else by this process. Returns
/// after the stop, and then leaves the source of this process to its owner. Throws what creating that source threw, and
/// what a side threw that goes on running.
[[nodiscard]] QCoro::Task<> followReports(ReportSides sides, ReportView view, std::stop_token stop);

/// The current report of the same side, which is not started. Asks the other one if the sides change meanwhile. A stop
/// ends the waiting with a CancellationError.
[[nodiscard]] QCoro::Task<MonitorReport> currentReport(ReportSides sides, std::stop_token stop);

/// Shows each change of the report of a source that is at work already, and what it announces, until the stop. Throws
/// what the source threw.
[[nodiscard]] QCoro::Task<> showChanges(ReportSource *source, ReportView view, std::stop_token stop);

} // namespace velmora
