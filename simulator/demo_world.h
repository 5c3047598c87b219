// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/random.h"
#include "simulator/world.h"

#include <QUrl>

namespace velmora::simulator
{

/// How big an artificial world is to be.
struct WorldSize {
    int identities = 1;
    int installations = 1; ///< seen by every identity; the first grants every repository, the others none
    int repositories = 0;
    int deployments = 0; ///< in each repository
};

/// Three people, four organisations and some thirty repositories, with what was deployed during the last day and
/// a little of before. Addresses within point at `web`. The same for the same chance and moment.
[[nodiscard]] World demoWorld(Random &random, Milliseconds now, const QUrl &web);

/// A world of exactly that size, for tests and measurements. Identities are "user-1" and so on, the
/// repositories "user-1/repository-0001" and so on; every deployment is over.
[[nodiscard]] World artificialWorld(const WorldSize &size, Milliseconds now, const QUrl &web);

} // namespace velmora::simulator
