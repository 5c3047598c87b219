// SPDX-License-Identifier: MIT
#pragma once

#include "http/http_session.h"

#include <chrono>
#include <memory>

namespace velmora
{

class Clock;

/// HTTP over libcurl.
///
/// HTTP/1.1 only: a silently dead HTTP/2 connection would hold up all requests. Follows at most three
/// redirects, and only on the same origin, so that no token reaches another host; any other redirect is the response.
/// No cookies, no cache. A response has at most 100 headers of 64 KiB together, and its body brings at least 1 KiB in
/// every 30 seconds.
///
/// Uses the proxy that the environment or the system names for a host, but never for this machine. The host's
/// certificate must verify against the trust store of the system, and no setting disables this check.
class NetworkSession final : public HTTPSession
{
public:
    struct Limits {
        std::chrono::milliseconds silence = std::chrono::seconds(60); ///< longest time without a byte
        std::chrono::milliseconds total = std::chrono::seconds(300); ///< longest time of one send(), redirects included
        qint64 bodySize = 3 * 1024 * 1024; ///< in bytes, after decompression; GitHub's largest have about 1 MiB
    };

    /// Whether the texts of failures name the host and the proxy.
    enum class Names {
        Shown,
        Hidden, ///< for a report that is made public
    };

    NetworkSession();
    /// The clock measures how fast a body comes. It is not owned; without one it is the machine's.
    explicit NetworkSession(Limits limits, Names names = Names::Shown, Clock *clock = nullptr);
    /// Ends every open request, which fails with a TransportError on the spot.
    ~NetworkSession() override;

    [[nodiscard]] QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) override;

    /// Aborts the open requests, which fail with a TransportError, and closes their connections. For use after waking
    /// or a change of network, when connections may be dead without notice. Unrepeatable requests go on.
    void dropConnections();
    /// Aborts every open request, including the unrepeatable ones. Later requests fail at once.
    void close();
    /// The libraries for HTTP and TLS with their versions, such as "libcurl 7.88.1, OpenSSL/3.0.17".
    [[nodiscard]] static QString library();
    /// The number of requests that have been sent and have not ended.
    [[nodiscard]] qsizetype openRequests() const;

    /// Shared with the open requests, which may outlive the session.
    struct State;

private:
    std::shared_ptr<State> m_state;
};

} // namespace velmora
