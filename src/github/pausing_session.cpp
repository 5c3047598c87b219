// SPDX-License-Identifier: MIT
#include "github/pausing_session.h"

#include "github/paused_error.h"

namespace velmora
{

PausingSession::PausingSession(std::shared_ptr<HTTPSession> session, std::shared_ptr<RateLimitLedger> rateLimits,
    qint64 identityID, const Clock *clock)
    : m_session(std::move(session))
    , m_rateLimits(std::move(rateLimits))
    , m_identityID(identityID)
    , m_clock(clock)
{
}

QCoro::Task<HTTPResponse> PausingSession::send(HTTPRequest request, std::stop_token stop)
{
    if (const auto until = m_rateLimits->pausedUntil(m_identityID, m_clock->now()))
        throw PausedError(*until);
    return m_session->send(std::move(request), std::move(stop));
}

GitHubClient clientOfIdentity(GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, qint64 identityID)
{
    client.session = std::make_shared<PausingSession>(client.session, std::move(rateLimits), identityID, client.clock);
    return client;
}

} // namespace velmora
