// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <limits>

namespace velmora
{

/// What GitHub says of the points that one identity has left in the current hour.
struct DeploymentRateLimit {
    /// Points that the fetch cost.
    qint64 cost = 0;
    /// Points that are left.
    qint64 remaining = 0;
    /// When the points are full again.
    Instant resetAt = distantPast();

    /// Where no limit is known: as many points are left as can be. Merged with another, it gives way.
    [[nodiscard]] static DeploymentRateLimit none() { return {0, std::numeric_limits<qint64>::max(), distantPast()}; }

    friend bool operator==(const DeploymentRateLimit &, const DeploymentRateLimit &) = default;
};

/// A repository of which GitHub tells nothing, though it was asked, and gives a reason.
struct UnansweredRepository {
    QString nodeID; ///< as it was asked for
    QString reason; ///< and what to do about it, in words for the user

    friend bool operator==(const UnansweredRepository &, const UnansweredRepository &) = default;
};

/// The deployments of one fetch, in the order fetched, and what the fetch cost.
struct DeploymentFetchResult {
    QList<DeploymentSnapshot> deployments;
    DeploymentRateLimit rateLimit;
    QList<UnansweredRepository> unanswered = {};

    friend bool operator==(const DeploymentFetchResult &, const DeploymentFetchResult &) = default;
};

} // namespace velmora
