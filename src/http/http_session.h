// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QUrl>

#include <optional>
#include <stop_token>
#include <utility>

namespace velmora
{

using HTTPHeaders = QList<std::pair<QByteArray, QByteArray>>;

struct HTTPRequest {
    QByteArray method = "GET";
    QUrl url;
    HTTPHeaders headers; ///< sent in this order; those without a value are not
    std::optional<QByteArray> body;
    /// For a POST that uses up a token whose replacement is only in the response. It is sent at most once, over its own
    /// connection. It continues when other connections are dropped; its own limits end it.
    bool isUnrepeatable = false;
};

struct HTTPResponse {
    /// Absent if the response was not HTTP.
    std::optional<int> statusCode;
    HTTPHeaders headers;
    QByteArray body;

    /// The first header of that name, ignoring case.
    [[nodiscard]] std::optional<QByteArray> header(QByteArrayView name) const;
};

/// Sends requests. All network access of the program goes through it.
class HTTPSession
{
public:
    virtual ~HTTPSession() = default;

    /// The complete response, whatever its status. Throws TransportError if there is none. A stop ends the exchange at
    /// once with a CancellationError.
    [[nodiscard]] virtual QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) = 0;
};

} // namespace velmora
