// SPDX-License-Identifier: MIT
#pragma once

#include "support/background.h"

namespace velmora
{

/// Threads for what may block longer than anybody waits: connecting to a bus that does not answer, reading from a file
/// system that is gone. They end with the process and never hold an ordinary end up by themselves; whoever ends the
/// process looks at isPatientWorkOpen() and does not wait for them.
[[nodiscard]] QThreadPool *patientPool();

/// Whether such a thread is still at work.
[[nodiscard]] bool isPatientWorkOpen();

} // namespace velmora
