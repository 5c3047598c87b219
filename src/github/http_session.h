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
    HTTPHeaders headers; ///< sent in this order
    std::optional<QByteArray> body;
    /// For a POST that uses something up, of which only the answer has the replacement. It is sent at most once, over a
    /// connection of its own, and goes on when other connections are given up: its own limits end it.
    bool isUnrepeatable = false;
};

struct HTTPResponse {
    /// Absent when what answered was not HTTP.
    std::optional<int> statusCode;
    HTTPHeaders headers;
    QByteArray body;

    /// The first header of that name, in any case of letters.
    [[nodiscard]] std::optional<QByteArray> header(QByteArrayView name) const;
};

/// Sends requests: the one way out of the program.
class HTTPSession
{
public:
    virtual ~HTTPSession() = default;

    /// The whole answer, whatever its status. Throws TransportError when there is none and
    /// CancellationError as soon as the stop is requested, which also ends the exchange.
    [[nodiscard]] virtual QCoro::Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop) = 0;
};

} // namespace velmora
