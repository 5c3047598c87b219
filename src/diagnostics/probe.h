// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/findings.h"
#include "diagnostics/private_names.h"

#include <QCoroTask>

#include <chrono>
#include <functional>
#include <stop_token>

namespace velmora
{

/// One query of a diagnosis.
struct Probe {
    QString heading; ///< the section of its findings
    QString label; ///< the label of the line if there is no answer
    /// Called once. The stop is requested when the answer is no longer needed; a probe may ignore it.
    std::function<QCoro::Task<QList<Finding>>(std::stop_token)> ask;
};

/// Runs all probes at once and returns the findings in the order of the probes. A probe that fails or misses the
/// deadline yields the reason instead, without private names, and does not affect the others. Throws a
/// CancellationError if the stop is requested.
[[nodiscard]] QCoro::Task<QList<FindingSection>> runProbes(
    QList<Probe> probes, PrivateNames names, std::chrono::milliseconds deadline, std::stop_token stop);

} // namespace velmora
