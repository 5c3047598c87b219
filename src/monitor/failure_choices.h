// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/failure_marks.h"
#include "platform/preferences.h"

namespace velmora
{

// What the user chooses about failures is kept in the preferences, which the Velmora processes of a profile share.

/// The choices as they are stored.
[[nodiscard]] FailureChoices failureChoices(const Preferences &defaults);

/// Whether the key is that of a choice.
[[nodiscard]] bool isFailureChoice(const QString &key);

/// Dismisses failures in their present state, or takes that back. Of those dismissed earlier it forgets what is not
/// `listed` and was dismissed so long ago that it cannot be listed again, and the oldest of more than 10,000.
void setDismissed(
    Preferences *defaults, const DeploymentList &failures, bool isDismissed, const DeploymentList &listed, Instant now);

/// Forgets that failures were dismissed which are listed in another state.
void forgetChanged(Preferences *defaults, const DeploymentList &listed);

} // namespace velmora
