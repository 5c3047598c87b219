// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QByteArray>

namespace velmora
{

/// The node id of the repository with that number.
[[nodiscard]] QByteArray generatedRepositoryID(int number);

/// An answer to the deployments query: `count` repositories from number `first` on, with 20 deployments each,
/// changed within the last hours before `now`, of every state, as long as GitHub's are.
[[nodiscard]] QByteArray generatedResponse(int first, int count, Instant now);

} // namespace velmora
