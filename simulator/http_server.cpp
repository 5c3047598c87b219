// SPDX-License-Identifier: MIT
#include "simulator/http_server.h"

#include <QDateTime>
#include <QHttpServerRequest>
#include <QLocale>
#include <QTimer>
#include <QUuid>

namespace velmora::simulator
{

namespace
{

QByteArray methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return "GET";
    case QHttpServerRequest::Method::Post:
        return "POST";
    case QHttpServerRequest::Method::Put:
        return "PUT";
    case QHttpServerRequest::Method::Delete:
        return "DELETE";
    case QHttpServerRequest::Method::Head:
        return "HEAD";
    case QHttpServerRequest::Method::Patch:
        return "PATCH";
    case QHttpServerRequest::Method::Options:
        return "OPTIONS";
    default:
        return "OTHER";
    }
}

Request requestFrom(const QHttpServerRequest &incoming)
{
    Request request;
    request.method = methodName(incoming.method());
    request.path = incoming.url().path(QUrl::FullyEncoded).toUtf8();
    request.query = incoming.url().query(QUrl::FullyEncoded).toUtf8();
    const auto headers = incoming.headers();
    for (const auto &[name, value] : headers)
        request.headers.append({name, value});
    request.body = incoming.body();
    return request;
}

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{{200, "OK"}, {204, "No Content"}, {301, "Moved Permanently"},
        {302, "Found"}, {304, "Not Modified"}, {307, "Temporary Redirect"}, {400, "Bad Request"}, {401, "Unauthorized"},
        {403, "Forbidden"}, {404, "Not Found"}, {410, "Gone"}, {422, "Unprocessable Entity"},
        {429, "Too Many Requests"}, {500, "Internal Server Error"}, {502, "Bad Gateway"}, {503, "Service Unavailable"},
        {504, "Gateway Timeout"}};
    return phrases.value(status, "Status");
}

bool hasHeader(const Response &response, const QByteArray &name)
{
    return std::any_of(response.headers.begin(), response.headers.end(),
        [&](const Header &header) { return header.name.compare(name, Qt::CaseInsensitive) == 0; });
}

QByteArray requestID()
{
    const QByteArray hex = QUuid::createUuid().toByteArray(QUuid::Id128).toUpper();
    return hex.left(4) + ':' + hex.mid(4, 6) + ':' + hex.mid(10, 8) + ':' + hex.mid(18, 8) + ':' + hex.mid(24, 8);
}

QByteArray headOf(const Response &response, bool withLength)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reasonPhrase(response.status) + "\r\n";
    const auto add = [&](const QByteArray &name, const QByteArray &value) {
        if (!hasHeader(response, name))
            head += name + ": " + value + "\r\n";
    };
    add("Server", "github.com");
    const QDateTime now = QDateTime::currentDateTimeUtc();
    add("Date", QLocale::c().toString(now, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'")).toLatin1());
    for (const Header &header : response.headers)
        head += header.name + ": " + header.value + "\r\n";
    add("X-GitHub-Request-Id", requestID());
    if (withLength && response.status != 204 && response.status != 304)
        add("Content-Length", QByteArray::number(response.body.size()));
    if (!withLength)
        add("Connection", "close");
    return head + "\r\n";
}

} // namespace

/// A request being answered. It ends with the answer, or with the connection.
struct HTTPServer::Exchange {
    QPointer<QTcpSocket> socket;
    Reply reply;
    bool isHead = false;
    bool closesAfterwards = false;
    QMetaObject::Connection whenDisconnected;

    [[nodiscard]] bool hasEnded() const { return !reply.finished; }

    /// Reports the end and disconnects: the connection may outlive the exchange.
    void finish(int status)
    {
        const auto finished = std::exchange(reply.finished, nullptr);
        QObject::disconnect(whenDisconnected);
        if (finished)
            finished(status);
    }
};

HTTPServer::HTTPServer(Handler handler, QObject *parent)
    : QAbstractHttpServer(parent)
    , m_handler(std::move(handler))
{
}

quint16 HTTPServer::start(quint16 port)
{
    return listen(QHostAddress(QHostAddress::LocalHost), port);
}

bool HTTPServer::handleRequest(const QHttpServerRequest &incoming, QTcpSocket *socket)
{
    // Head and body are written apart; the body would wait for the client's belated acknowledgement of the head.
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    const Request request = requestFrom(incoming);
    const auto exchange = std::make_shared<Exchange>();
    exchange->socket = socket;
    exchange->reply = m_handler(request);
    exchange->isHead = request.method == "HEAD";
    exchange->closesAfterwards = request.header("Connection").value_or(QByteArray()).toLower() == "close";
    exchange->whenDisconnected = connect(socket, &QTcpSocket::disconnected, this, [exchange] {
        const auto kept = exchange; // keeps the exchange alive, because finish() deletes this lambda
        kept->finish(0);
    });
    if (exchange->reply.delivery.hang) {
        m_hanging.removeIf([](const auto &other) { return other->hasEnded(); });
        m_hanging.append(exchange);
        return true;
    }
    if (const auto defer = exchange->reply.delivery.defer) {
        defer([exchange] { send(exchange); });
        return true;
    }
    if (exchange->reply.delivery.delayMilliseconds > 0) {
        QTimer::singleShot(
            exchange->reply.delivery.delayMilliseconds, Qt::PreciseTimer, socket, [exchange] { send(exchange); });
        return true;
    }
    send(exchange);
    return true;
}

qsizetype HTTPServer::hangingCount() const
{
    return std::count_if(
        m_hanging.begin(), m_hanging.end(), [](const auto &exchange) { return !exchange->hasEnded(); });
}

void HTTPServer::answerHanging()
{
    const auto hanging = std::exchange(m_hanging, {});
    for (const auto &exchange : hanging)
        send(exchange);
}

void HTTPServer::missingHandler(const QHttpServerRequest &, QTcpSocket *)
{
    // handleRequest() handles every request.
}

void HTTPServer::send(const std::shared_ptr<Exchange> &exchange)
{
    if (!exchange->socket || exchange->socket->state() != QAbstractSocket::ConnectedState)
        return exchange->finish(0);
    const Response &response = exchange->reply.response;
    const Delivery &delivery = exchange->reply.delivery;
    if (delivery.close == Delivery::Close::Before) {
        exchange->socket->abort();
        return exchange->finish(0);
    }
    exchange->socket->write(headOf(response, !delivery.endlessBody));
    if (delivery.endlessBody)
        return sendEndlessly(exchange);
    std::optional<qint64> cut = delivery.truncateAfter;
    if (delivery.close == Delivery::Close::Middle)
        cut = response.body.size() / 2;
    if (!exchange->isHead && response.status != 204 && response.status != 304)
        exchange->socket->write(cut ? response.body.left(*cut) : response.body);
    if (delivery.keepsRest)
        return; // ends with the connection
    exchange->finish(cut ? 0 : response.status);
    if (cut || exchange->closesAfterwards)
        exchange->socket->disconnectFromHost();
}

void HTTPServer::sendEndlessly(const std::shared_ptr<Exchange> &exchange)
{
    constexpr qint64 kAhead = 256 * 1024;
    static const QByteArray blanks(64 * 1024, ' ');
    QTcpSocket *socket = exchange->socket;
    socket->write(exchange->reply.response.body);
    const auto more = [socket] {
        while (socket->state() == QAbstractSocket::ConnectedState && socket->bytesToWrite() < kAhead)
            socket->write(blanks);
    };
    connect(socket, &QTcpSocket::bytesWritten, socket, more);
    more();
}

} // namespace velmora::simulator
