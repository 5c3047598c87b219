// SPDX-License-Identifier: MIT
#pragma once

#include "github/http_session.h"

#include <chrono>
#include <memory>

namespace velmora
{

/// HTTP over Qt Network.
///
/// HTTP/1.1 only: a silently dead HTTP/2 connection would be used for every later request, for ever.
/// Redirects are followed by hand, at most three and only on the same origin, so that no token travels
/// to another host; any other redirect is the answer. No cookies, no cache.
///
/// A host is reached through the proxy that the environment or the system names for it, this machine itself never. What
/// a host certifies itself with must verify against the trust store of the system, and nothing can switch that off.
class NetworkSession final : public HTTPSession
{
public:
    struct Limits {
        std::chrono::milliseconds silence = std::chrono::seconds(60); ///< without a byte
        std::chrono::milliseconds total = std::chrono::seconds(300); ///< of one send(), redirects included
        qint64 bodySize = 16 * 1024 * 1024; ///< after decompression
    };

    NetworkSession();
    explicit NetworkSession(Limits limits);
    /// Ends every open request; those who await see a TransportError, on the spot.
    ~NetworkSession() override;

    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) override;

    /// Aborts the open requests, which fail with a TransportError, and closes their connections: for the
    /// moment after waking or a change of network, when both may be dead without knowing it. A request
    /// that is unrepeatable goes on.
    void dropConnections();
    /// Aborts every open request, the unrepeatable ones included; later ones fail at once.
    void close();

    /// What open requests share with the session that they may outlive.
    struct State;

private:
    std::shared_ptr<State> m_state;
};

} // namespace velmora
