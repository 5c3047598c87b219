// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"

#include <QCoroTask>

#include <optional>

namespace velmora
{

/// The last merged list of deployments, as kept between two runs.
struct DeploymentCachePayload {
    DeploymentList deployments;
    Instant savedAt;

    friend bool operator==(const DeploymentCachePayload &, const DeploymentCachePayload &) = default;
};

/// The store of the last list.
class DeploymentCaching
{
public:
    virtual ~DeploymentCaching() = default;

    /// Replaces the saved payload. Throws FileError. Saves happen in the order of the calls.
    [[nodiscard]] virtual QCoro::Task<> save(DeploymentCachePayload payload) = 0;

    /// The saved payload, nullopt if it is missing or cannot be read or decoded. Does not throw.
    [[nodiscard]] virtual QCoro::Task<std::optional<DeploymentCachePayload>> load() = 0;
};

} // namespace velmora
