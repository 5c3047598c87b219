// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/failure_marks.h"
#include "platform/preferences.h"

namespace velmora
{

/// The choices as they are stored.
[[nodiscard]] FailureChoices failureChoices(const Preferences &defaults);

/// Whether the key is that of a choice.
[[nodiscard]] bool isFailureChoice(const QString &key);

} // namespace velmora
