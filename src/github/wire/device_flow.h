// SPDX-License-Identifier: MIT
#pragma once

#include "github/device_authorization.h"
#include "github/wire/responses.h"
#include "http/http_session.h"
#include "support/instant.h"

namespace velmora
{

/// The rules of one device flow: when to poll next, and what ends the flow.
class DeviceFlow
{
public:
    /// Begins at `start`, when GitHub's code has arrived.
    DeviceFlow(const DeviceAuthorization &authorization, Instant start);

    /// Throws unknownClient or deviceFlowDisabled if the response to the start of a flow says so.
    static void requireUsableApp(const HTTPResponse &response);

    /// The number of seconds until the next poll. Throws authorizationExpired if the code has expired.
    [[nodiscard]] qint64 pauseBeforePoll(Instant now) const;

    /// Call it with each response without a token. Throws if the response ends the flow.
    void handle(const GitHubOAuthResponse &response);

    /// Call it with each failed poll. Rethrows the failure if polling again is useless.
    void handle(const std::exception_ptr &failure);

private:
    [[nodiscard]] qint64 pause() const;

    Instant m_start;
    qint64 m_expiresIn;
    qint64 m_interval;
    qint64 m_pauseAfterTimeout = 0;
    int m_incorrectCodes = 0;
};

} // namespace velmora
