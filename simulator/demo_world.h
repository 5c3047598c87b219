// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/random.h"
#include "simulator/world.h"

#include <QUrl>

namespace velmora::simulator
{

/// The size of an artificial world.
struct WorldSize {
    int identities = 1;
    int installations = 1; ///< every identity sees each; the first grants all repositories, the others none
    int repositories = 0;
    int deployments = 0; ///< for each repository
};

/// Three users, four organisations and about thirty repositories, with deployments of the last day and a few older
/// ones. Addresses point to `web`. The result depends only on `random`, `now` and `web`.
[[nodiscard]] World demoWorld(Random &random, Milliseconds now, const QUrl &web);

/// A world of exactly this size, for tests and measurements. Identities are "user-1" and so on, repositories
/// "user-1/repository-0001" and so on. All deployments have ended.
[[nodiscard]] World artificialWorld(const WorldSize &size, Milliseconds now, const QUrl &web);

} // namespace velmora::simulator
