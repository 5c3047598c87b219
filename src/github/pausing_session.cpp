// SPDX-License-Identifier: MIT
#include "github/pausing_session.h"

#include "github/paused_error.h"

namespace velmora
{

namespace
{

class PausingSession final : public HTTPSession
{
public:
    PausingSession(const GitHubClient &client, std::shared_ptr<RateLimitLedger> rateLimits, qint64 identityID)
        : m_session(client.session)
        , m_clock(client.clock)
        , m_rateLimits(std::move(rateLimits))
        , m_identityID(identityID)
    {
    }

    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) override
    {
        if (const auto until = m_rateLimits->pausedUntil(m_identityID, m_clock->now()))
            throw PausedError(*until);
        return m_session->send(std::move(request), std::move(stop));
    }

private:
    std::shared_ptr<HTTPSession> m_session;
    const Clock *m_clock;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    qint64 m_identityID;
};

} // namespace

GitHubClient clientOfIdentity(GitHubClient client, std::shared_ptr<RateLimitLedger> rateLimits, qint64 identityID)
{
    client.session = std::make_shared<PausingSession>(client, std::move(rateLimits), identityID);
    return client;
}

} // namespace velmora
