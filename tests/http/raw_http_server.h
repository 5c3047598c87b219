// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

namespace velmora::testing
{

/// A server on the loopback address. The test handles each request and may write anything, well-formed or not.
class RawHTTPServer : public QObject
{
public:
    using Handler = std::function<void(QTcpSocket *, const QByteArray &request)>;

    RawHTTPServer()
        : RawHTTPServer(std::make_unique<QTcpServer>())
    {
    }
    /// `server` accepts the connections; one with TLS hands them over after the handshake.
    explicit RawHTTPServer(std::unique_ptr<QTcpServer> server)
        : m_server(std::move(server))
    {
        connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, [this] { accept(); });
        m_server->listen(QHostAddress::LocalHost);
    }

    [[nodiscard]] quint16 port() const { return m_server->serverPort(); }

    [[nodiscard]] QUrl url(const QString &path = QStringLiteral("/")) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(port()).arg(path));
    }

    static QByteArray answer(const QByteArray &status, const QByteArray &body, const QByteArray &headers = {})
    {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + headers
            + "\r\n" + body;
    }

    /// Gives the same answer to every request.
    void answerAll(const QByteArray &answer)
    {
        handler = [answer](QTcpSocket *socket, const QByteArray &) {
            socket->write(answer);
        };
    }

    /// Answers depending on the path.
    void answerPaths(const QHash<QByteArray, QByteArray> &answers)
    {
        handler = [answers](QTcpSocket *socket, const QByteArray &request) {
            socket->write(answers.value(request.split(' ').value(1)));
        };
    }

    Handler handler; ///< without a handler nothing is answered
    QList<QByteArray> requests; ///< including their bodies
    int connections = 0;
    int closedConnections = 0;

private:
    void accept()
    {
        while (QTcpSocket *socket = m_server->nextPendingConnection()) {
            ++connections;
            auto received = std::make_shared<QByteArray>();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, received] {
                received->append(socket->readAll());
                takeRequests(socket, *received);
            });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                ++closedConnections;
                socket->deleteLater();
            });
        }
    }

    void takeRequests(QTcpSocket *socket, QByteArray &received)
    {
        while (true) {
            const auto headEnd = received.indexOf("\r\n\r\n");
            if (headEnd < 0)
                return;
            const auto size = headEnd + 4 + bodySize(received.first(headEnd));
            if (received.size() < size)
                return;
            const QByteArray request = received.first(size);
            received.remove(0, size);
            requests.append(request);
            if (handler)
                handler(socket, request);
        }
    }

    static qsizetype bodySize(const QByteArray &head)
    {
        for (const auto &line : head.split('\n')) {
            if (line.toLower().startsWith("content-length:"))
                return line.mid(15).trimmed().toLongLong();
        }
        return 0;
    }

    std::unique_ptr<QTcpServer> m_server;
};

} // namespace velmora::testing
