// SPDX-License-Identifier: MIT
#pragma once

#include "http/network_session.h"
#include "support/await.h"
#include "support/error.h"

#include "raw_http_server.h"

namespace velmora::testing
{

inline HTTPRequest get(const QUrl &url)
{
    HTTPRequest request;
    request.url = url;
    request.headers = {{"Authorization", "Bearer secret"}, {"Accept", "application/json"}, {"X-Own", "1"}};
    return request;
}

inline HTTPRequest post(const QUrl &url, const QByteArray &body)
{
    HTTPRequest request = get(url);
    request.method = "POST";
    request.headers = {{"Authorization", "Bearer secret"}, {"Content-Type", "text/plain"}, {"Accept", "a/b"}};
    request.body = body;
    return request;
}

inline HTTPRequest unrepeatable(const QUrl &url)
{
    HTTPRequest request = post(url, "works once");
    request.isUnrepeatable = true;
    return request;
}

inline std::optional<TransportError::Kind> kindOf(const Outcome<HTTPResponse> &outcome)
{
    if (!outcome.failure)
        return std::nullopt;
    try {
        std::rethrow_exception(outcome.failure);
    } catch (const TransportError &error) {
        return error.kind();
    } catch (...) {
        return std::nullopt;
    }
}

inline const auto kNetwork = std::optional(TransportError::Kind::Network);
inline const auto kTimedOut = std::optional(TransportError::Kind::TimedOut);
inline const auto kTooLarge = std::optional(TransportError::Kind::BodyTooLarge);

inline NetworkSession::Limits limits(
    std::chrono::milliseconds silence, std::chrono::milliseconds total, qint64 bodySize = 1000)
{
    return {silence, total, bodySize};
}

inline QByteArray redirect(const QByteArray &status, const QByteArray &location)
{
    return RawHTTPServer::answer(status + " Moved", "over there", "Location: " + location + "\r\n");
}

/// The names of a request's headers, in the order on the wire.
inline QByteArrayList headerNames(const QByteArray &request)
{
    QByteArrayList names;
    const auto lines = request.first(request.indexOf("\r\n\r\n")).split('\n');
    for (qsizetype i = 1; i < lines.size(); ++i)
        names.append(lines.at(i).left(lines.at(i).indexOf(':')));
    return names;
}

} // namespace velmora::testing
