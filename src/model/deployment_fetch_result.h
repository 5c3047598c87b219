// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

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

    friend bool operator==(const DeploymentRateLimit &, const DeploymentRateLimit &) = default;
};

/// The deployments of one fetch, in the order fetched, and what the fetch cost.
struct DeploymentFetchResult {
    QList<DeploymentSnapshot> deployments;
    DeploymentRateLimit rateLimit;

    friend bool operator==(const DeploymentFetchResult &, const DeploymentFetchResult &) = default;
};

} // namespace velmora
