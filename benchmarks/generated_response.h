// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QByteArray>

namespace velmora
{

/// The node id of the repository with this number.
[[nodiscard]] QByteArray generatedRepositoryID(int number);

/// An answer to the deployments query: `count` repositories from number `first` on, each with 20 deployments in all
/// states that changed within hours before `now`. Its size is like that of GitHub's answers.
[[nodiscard]] QByteArray generatedResponse(int first, int count, Instant now);

} // namespace velmora
