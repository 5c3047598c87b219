// SPDX-License-Identifier: MIT
#pragma once

#include "http/proxy.h"

#include <curl/curl.h>

namespace velmora
{

/// Why a connection failed, as libcurl tells it.
struct ConnectionFailure {
    CURLcode code = CURLE_OK;
    long systemError = 0; ///< an errno, 0 if the system reported none
    long verification = 0; ///< OpenSSL's result of verifying the certificate
    long proxyStatus = 0; ///< the status with which a proxy refused the tunnel, or 0
    bool isDamaged = false; ///< whether the answer breaks the rules of HTTP
};

/// The message to the user. Names the host, and a proxy by host and port, never with its credentials; a proxy without a
/// host name is "the proxy". Quotes neither the request nor the server.
[[nodiscard]] QString connectionFailureText(const QString &host, const ConnectionFailure &failure, const Proxy &proxy);

[[nodiscard]] QString closedEarlyText(const QString &host);

[[nodiscard]] QString timeoutText(const QString &host, const Proxy &proxy);

} // namespace velmora
