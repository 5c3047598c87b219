// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QCoroTask>
#include <QObject>

#include <stop_token>

namespace velmora
{

/// Knows how the deployments stand.
class ReportSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// How they stand at this moment, as far as the source knows. A stop ends the waiting with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<MonitorReport> report(std::stop_token stop) = 0;
    /// From now on the source learns what becomes of them, and emits its signals. Call it once.
    virtual void follow() = 0;

Q_SIGNALS:
    /// report() has something else to say.
    void reportChanged();
    /// A result is announced.
    void announced(const velmora::DeploymentNotification &notification);
};

} // namespace velmora
