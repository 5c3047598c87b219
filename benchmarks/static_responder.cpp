// SPDX-License-Identifier: MIT
// Answers the deployments query from prepared bodies, so that the server adds little to a measurement. Picks the body
// by the first repository in the request; keeps connections alive.
#include "generated_response.h"

#include <QCoreApplication>
#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

using namespace velmora;

namespace
{

constexpr int kBatch = 20;
constexpr int kRepositories = 1000;

QHash<QByteArray, QByteArray> preparedAnswers()
{
    QHash<QByteArray, QByteArray> answers;
    const Instant now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    for (int first = 0; first < kRepositories; first += kBatch) {
        const QByteArray body = generatedResponse(first, kBatch, now);
        answers.insert(generatedRepositoryID(first),
            "HTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\nContent-Length: "
                + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    }
    return answers;
}

qsizetype contentLength(const QByteArray &head)
{
    const QByteArray name = "content-length:";
    const qsizetype at = head.toLower().indexOf(name);
    if (at < 0)
        return 0;
    const qsizetype begin = at + name.size();
    return head.mid(begin, head.indexOf('\r', begin) - begin).trimmed().toLongLong();
}

/// Answers every complete request in `pending` and keeps the rest.
void answer(QTcpSocket &socket, QByteArray &pending, const QHash<QByteArray, QByteArray> &answers)
{
    while (true) {
        const qsizetype headEnd = pending.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return;
        const qsizetype end = headEnd + 4 + contentLength(pending.left(headEnd + 2));
        if (pending.size() < end)
            return;
        const qsizetype id = pending.indexOf("R_kgDO", headEnd);
        const auto found
            = id < 0 ? answers.constEnd() : answers.constFind(pending.mid(id, generatedRepositoryID(0).size()));
        socket.write(found == answers.constEnd() ? "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n" : *found);
        pending.remove(0, end);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const auto answers = preparedAnswers();
    QTcpServer server;
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] {
        auto *const socket = server.nextPendingConnection();
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(
            socket, &QTcpSocket::readyRead, socket, [socket, &answers, pending = std::make_shared<QByteArray>()] {
                *pending += socket->readAll();
                answer(*socket, *pending, answers);
            });
    });
    if (!server.listen(QHostAddress::LocalHost))
        return 1;
    std::printf("%d\n", server.serverPort());
    std::fflush(stdout);
    return QCoreApplication::exec();
}
