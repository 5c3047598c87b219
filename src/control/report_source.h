// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QCoroTask>
#include <QObject>

#include <stop_token>

namespace velmora
{

/// Reports on the deployments. May be another process, which comes and goes.
class ReportSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Finds out whether the source runs. From then on isRunning() is kept up to date.
    [[nodiscard]] virtual QCoro::Task<bool> locate(std::stop_token) { co_return true; }
    [[nodiscard]] virtual bool isRunning() const { return true; }

    /// The current report, as far as the source knows. A stop ends the waiting with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<MonitorReport> report(std::stop_token stop) = 0;

    /// Starts the work that makes reports change, and of which announced() tells. Another process has started its own.
    virtual void start() { }

Q_SIGNALS:
    /// isRunning() changed, or another process is the source now.
    void isRunningChanged();
    /// report() would return something new.
    void reportChanged();
    /// A result was announced.
    void announced(const velmora::DeploymentNotification &notification);
};

} // namespace velmora
