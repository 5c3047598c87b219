// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QString>

namespace velmora
{

/// How long ago, or in how long, as a person says it: "2 minutes ago", "in 5 minutes", "now". In the
/// largest unit that fits, rounded towards now.
[[nodiscard]] QString relativeTime(Instant instant, Instant now);

/// When relativeTime(instant, …) first says something else than it does at `now`.
[[nodiscard]] Instant nextRelativeTimeChange(Instant instant, Instant now);

} // namespace velmora
