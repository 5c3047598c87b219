// SPDX-License-Identifier: MIT
#pragma once

#include "support/clock.h"

#include <QCoroTask>
#include <QLockFile>

#include <memory>
#include <stop_token>

namespace velmora
{

/// Waits, without blocking the thread, until no other process holds the lock file, and holds it until
/// the result is destroyed. The lock of a process that has died does not count. The folder is made
/// when it is missing. Throws FileError when no lock can be made there, CancellationError on a stop.
[[nodiscard]] QCoro::Task<std::shared_ptr<QLockFile>> acquireProcessLock(
    QString path, Clock *clock, std::stop_token stop);

} // namespace velmora
