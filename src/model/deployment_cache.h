// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QCoroTask>

#include <optional>

namespace velmora
{

/// The last merged list of deployments, as it is kept between two runs.
struct DeploymentCachePayload {
    QList<DeploymentSnapshot> deployments;
    Instant savedAt;

    friend bool operator==(const DeploymentCachePayload &, const DeploymentCachePayload &) = default;
};

/// Where the monitor keeps the last list.
class DeploymentCaching
{
public:
    virtual ~DeploymentCaching() = default;

    /// Replaces the saved payload; throws FileError. Saves of one object happen in the order of the calls.
    [[nodiscard]] virtual QCoro::Task<> save(DeploymentCachePayload payload) = 0;

    /// The saved payload; nothing when there is none that can be read and decoded. Does not throw.
    [[nodiscard]] virtual QCoro::Task<std::optional<DeploymentCachePayload>> load() = 0;
};

} // namespace velmora
