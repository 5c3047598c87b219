// SPDX-License-Identifier: MIT
#pragma once

#include "support/background.h"

namespace velmora
{

/// Threads for work that may block forever, such as connecting to a bus that does not answer or reading from a dead
/// file system. They must not delay the end of the process: while isPatientWorkOpen(), exit without waiting for
/// threads.
[[nodiscard]] QThreadPool *patientPool();

/// Whether such work is still running.
[[nodiscard]] bool isPatientWorkOpen();

} // namespace velmora
