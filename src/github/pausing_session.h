// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "github/rate_limit_ledger.h"

namespace velmora
{

/// The client for requests of this identity. It sends none while the ledger says that the identity is paused, but
/// throws PausedError. An operation of many requests thus ends at its first request after a pause has begun.
[[nodiscard]] GitHubClient clientOfIdentity(
    GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, qint64 identityID);

} // namespace velmora
