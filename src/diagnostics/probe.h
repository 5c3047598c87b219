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

/// One question of a diagnosis.
struct Probe {
    QString heading; ///< of the section in which the answer stands
    QString label; ///< of the line that says why there is no answer
    /// Called once. The stop is requested when nobody waits any more; what does not heed it runs on unseen.
    std::function<QCoro::Task<QList<Finding>>(std::stop_token)> ask;
};

/// Asks everything at once and returns the answers in the order of the questions. A question that fails, or is not
/// answered at the deadline, is answered with the reason, which holds none of the private names, and takes nothing from
/// the others. Throws a CancellationError when the stop is requested.
[[nodiscard]] QCoro::Task<QList<FindingSection>> runProbes(
    QList<Probe> probes, PrivateNames names, std::chrono::milliseconds deadline, std::stop_token stop);

} // namespace velmora
