// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"

#include <QStringList>

#include <limits>

namespace velmora
{

/// GitHub's report on the points of one identity for the current hour.
struct DeploymentRateLimit {
    /// The cost of the fetch, in points.
    qint64 cost = 0;
    /// The points left.
    qint64 remaining = 0;
    /// When GitHub restores the full number of points.
    Instant resetAt = distantPast();

    /// No known limit: the largest number of points is left. Merging it with another limit yields the other.
    [[nodiscard]] static DeploymentRateLimit none() { return {0, std::numeric_limits<qint64>::max(), distantPast()}; }

    friend bool operator==(const DeploymentRateLimit &, const DeploymentRateLimit &) = default;
};

/// A requested repository that GitHub withholds with an error.
struct UnansweredRepository {
    QString nodeID; ///< the identifier in the request
    QString reason; ///< the reason and the remedy, in words for the user

    friend bool operator==(const UnansweredRepository &, const UnansweredRepository &) = default;
};

/// The deployments of one fetch, in the order of fetching, and the rate limit after it.
struct DeploymentFetchResult {
    DeploymentList deployments;
    DeploymentRateLimit rateLimit;
    QList<UnansweredRepository> unanswered = {};
    QStringList repositoryNodeIDs = {}; ///< of the deployments, which may have another form than in the request

    friend bool operator==(const DeploymentFetchResult &, const DeploymentFetchResult &) = default;
};

} // namespace velmora
