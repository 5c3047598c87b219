// SPDX-License-Identifier: MIT
#pragma once

#include "http/network_session.h"

#include <QNetworkReply>

namespace velmora
{

/// Sends the request with Qt Network: no redirects, cookies, cache or HTTP/2, and an unrepeatable request only once. Qt
/// reads the body only a little ahead of the caller, who owns the reply.
[[nodiscard]] QNetworkReply *startReply(
    QNetworkAccessManager &manager, const HTTPRequest &request, const NetworkSession::Limits &limits);

} // namespace velmora
