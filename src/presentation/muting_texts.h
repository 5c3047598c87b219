// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/term.h"

#include <QString>

namespace velmora
{

// The words about muted repositories and paused notifications. Times are in the user's zone and locale.

/// "until 17:00", "until tomorrow, 09:00", or with the date of a later day.
[[nodiscard]] QString untilText(Instant end, Instant now);

/// The action on a repository: "Mute acme/web" or "Unmute acme/web".
[[nodiscard]] QString mutingAction(const QString &repositoryName, bool isMuted);
/// "muted", with the end if there is one; empty if the repository is not muted.
[[nodiscard]] QString mutedText(const std::optional<Term> &muting, Instant now);

} // namespace velmora
