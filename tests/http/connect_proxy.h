// SPDX-License-Identifier: MIT
#pragma once

#include <QTcpServer>
#include <QTcpSocket>

namespace velmora::testing
{

/// A proxy on the loopback address. It connects every tunnel to one port of this machine, whatever host was requested,
/// and answers other requests itself.
class ConnectProxy : public QObject
{
public:
    ConnectProxy()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] { accept(); });
        m_server.listen(QHostAddress::LocalHost);
    }

    [[nodiscard]] quint16 port() const { return m_server.serverPort(); }
    [[nodiscard]] QByteArray address() const { return "127.0.0.1:" + QByteArray::number(port()); }

    quint16 target = 0; ///< the port that every tunnel leads to
    QByteArray credentials; ///< "name:password" that clients must send; empty for none
    QByteArray refusal; ///< the status line that refuses all tunnels; empty to accept them
    QByteArrayList heads; ///< the heads of all requests

    /// The first lines of all requests.
    [[nodiscard]] QByteArrayList lines() const
    {
        QByteArrayList lines;
        for (const QByteArray &head : heads)
            lines.append(head.left(head.indexOf('\r')));
        return lines;
    }

private:
    void accept()
    {
        while (QTcpSocket *client = m_server.nextPendingConnection()) {
            auto received = std::make_shared<QByteArray>();
            connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QTcpSocket::readyRead, this, [this, client, received] {
                *received += client->readAll();
                if (!received->contains("\r\n\r\n"))
                    return;
                const QByteArray head = std::exchange(*received, {});
                heads.append(head);
                answer(client, head);
            });
        }
    }

    void answer(QTcpSocket *client, const QByteArray &head)
    {
        const QByteArray wanted = "Proxy-Authorization: Basic " + credentials.toBase64() + "\r\n";
        if (!credentials.isEmpty() && !head.contains(wanted)) {
            client->write("HTTP/1.1 407 No\r\nProxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n");
        } else if (!head.startsWith("CONNECT ")) {
            client->write("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nthe proxy");
        } else if (!refusal.isEmpty()) {
            client->write(refusal + "\r\nContent-Length: 0\r\n\r\n");
        } else {
            tunnel(client);
        }
    }

    void tunnel(QTcpSocket *client)
    {
        client->disconnect(this);
        auto *server = new QTcpSocket(client);
        connect(server, &QTcpSocket::connected, client, [client] { client->write("HTTP/1.1 200 Go on\r\n\r\n"); });
        connect(client, &QTcpSocket::readyRead, server, [client, server] { server->write(client->readAll()); });
        connect(server, &QTcpSocket::readyRead, client, [client, server] { client->write(server->readAll()); });
        connect(server, &QTcpSocket::disconnected, client, &QTcpSocket::disconnectFromHost);
        server->connectToHost(QHostAddress(QHostAddress::LocalHost), target);
    }

    QTcpServer m_server;
};

} // namespace velmora::testing
