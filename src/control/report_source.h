// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QCoroTask>
#include <QObject>

#include <stop_token>

namespace velmora
{

/// Reports on the deployments.
class ReportSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The current report, as far as the source knows. A stop ends the waiting with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<MonitorReport> report(std::stop_token stop) = 0;
    /// Starts following changes and emitting the signals. Call it once.
    virtual void follow() = 0;

Q_SIGNALS:
    /// report() would return something new.
    void reportChanged();
    /// A result was announced.
    void announced(const velmora::DeploymentNotification &notification);
};

} // namespace velmora
