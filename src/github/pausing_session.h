// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client.h"
#include "github/rate_limit_ledger.h"

namespace velmora
{

/// Sends the requests of one identity, but none while the ledger says that the identity is paused. An operation of many
/// requests thus ends at its first request after a pause has begun.
class PausingSession final : public HTTPSession
{
public:
    /// The clock is not owned and outlives the session.
    PausingSession(std::shared_ptr<HTTPSession> session, std::shared_ptr<RateLimitLedger> rateLimits, qint64 identityID,
        const Clock *clock);

    /// Throws PausedError, and sends nothing, during a pause.
    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) override;

private:
    std::shared_ptr<HTTPSession> m_session;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    qint64 m_identityID;
    const Clock *m_clock;
};

/// The client for requests of this identity. It heeds the pauses of the identity.
[[nodiscard]] GitHubClient clientOfIdentity(
    GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, qint64 identityID);

} // namespace velmora
