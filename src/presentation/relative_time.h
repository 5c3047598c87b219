// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QString>

namespace velmora
{

/// The time from `now` to `instant` in words: "2 minutes ago", "in 5 minutes", "now". In the largest unit that fits,
/// rounded towards now.
[[nodiscard]] QString relativeTime(Instant instant, Instant now);

/// The time since an instant in words: "for 3 minutes". Empty within the first second, and for a later instant.
[[nodiscard]] QString elapsedTime(Instant since, Instant now);

/// The first instant after `now` at which relativeTime(instant, …) returns another text.
[[nodiscard]] Instant nextRelativeTimeChange(Instant instant, Instant now);

} // namespace velmora
