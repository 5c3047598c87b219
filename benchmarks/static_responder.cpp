// SPDX-License-Identifier: MIT
// Answers the deployments query from prepared bodies, so that the server adds little to a measurement. Picks the body
// by the first repository in the request; keeps connections alive. Every answer tells another number of remaining
// points. What is asked at /changing changes one repository in 50 each time.
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
constexpr int kRepositories = 10'000;

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

void changeLimit(QByteArray &answer, int turn)
{
    const QByteArray name = "\"remaining\":";
    answer.replace(answer.lastIndexOf(name) + name.size(), 4, QByteArray::number(4999 - turn % 1000));
}

/// Gives the first deployment of one repository in 50 another commit.
void changeRepositories(QByteArray &answer, int turn)
{
    constexpr int kOneIn = 50;
    for (qsizetype at = 0; (at = answer.indexOf("R_kgDO", at)) >= 0; ++at) {
        if (answer.mid(at + 6, 8).toInt() % kOneIn != turn % kOneIn)
            continue;
        const qsizetype commit = answer.indexOf("commitOid", at) + qsizetype(qstrlen("commitOid\":\""));
        answer[commit] = answer.at(commit) == '0' ? '1' : '0';
    }
}

struct Answers {
    QHash<QByteArray, QByteArray> bodies;
    QHash<QByteArray, int> turns;

    QByteArray next(const QByteArray &id, bool isChanging)
    {
        const auto found = bodies.find(id);
        if (found == bodies.end())
            return "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n";
        const int turn = turns[id]++;
        changeLimit(*found, turn);
        if (isChanging)
            changeRepositories(*found, turn);
        return *found;
    }
};

/// Answers every complete request in `pending` and keeps the rest.
void answer(QTcpSocket &socket, QByteArray &pending, Answers &answers)
{
    while (true) {
        const qsizetype headEnd = pending.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return;
        const qsizetype end = headEnd + 4 + contentLength(pending.left(headEnd + 2));
        if (pending.size() < end)
            return;
        const qsizetype id = pending.indexOf("R_kgDO", headEnd);
        socket.write(answers.next(id < 0 ? QByteArray() : pending.mid(id, generatedRepositoryID(0).size()),
            pending.startsWith("POST /changing")));
        pending.remove(0, end);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Answers answers{preparedAnswers(), {}};
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
