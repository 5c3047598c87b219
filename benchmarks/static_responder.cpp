// SPDX-License-Identifier: MIT
// static_responder CERTIFICATE KEY: answers the deployments query from prepared bodies, so that the server adds little
// to a measurement. Picks the body by the first repository in the request; keeps connections alive. Every answer tells
// another number of remaining points. What is asked at /changing changes one repository in 50 each time. Prints two
// ports: one for plain HTTP, and one for TLS, where bodies are compressed with gzip.
#include "generated_response.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>

#include <zlib.h>

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
        answers.insert(generatedRepositoryID(first), body);
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

QByteArray gzipped(const QByteArray &body)
{
    constexpr int kGzip = 15 + 16; // the largest window, in the form of gzip
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY);
    QByteArray compressed(qsizetype(deflateBound(&stream, uLong(body.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(body.data()));
    stream.avail_in = uInt(body.size());
    stream.next_out = reinterpret_cast<Bytef *>(compressed.data());
    stream.avail_out = uInt(compressed.size());
    deflate(&stream, Z_FINISH);
    compressed.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return compressed;
}

QByteArray response(const QByteArray &body, bool isCompressed)
{
    const QByteArray sent = isCompressed ? gzipped(body) : body;
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\n"
        + QByteArray(isCompressed ? "Content-Encoding: gzip\r\n" : "")
        + "Content-Length: " + QByteArray::number(sent.size()) + "\r\n\r\n" + sent;
}

struct Answers {
    QHash<QByteArray, QByteArray> bodies;
    QHash<QByteArray, int> turns;

    QByteArray next(const QByteArray &id, bool isChanging, bool isCompressed)
    {
        const auto found = bodies.find(id);
        if (found == bodies.end())
            return "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n";
        const int turn = turns[id]++;
        changeLimit(*found, turn);
        if (isChanging)
            changeRepositories(*found, turn);
        return response(*found, isCompressed);
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
            pending.startsWith("POST /changing"), qobject_cast<QSslSocket *>(&socket)));
        pending.remove(0, end);
    }
}

void serve(QTcpServer &server, Answers &answers)
{
    QObject::connect(&server, &QTcpServer::pendingConnectionAvailable, &server, [&] {
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
        qFatal("No port is free.");
}

QSslConfiguration configuration(const QString &certificatePath, const QString &keyPath)
{
    QFile key(keyPath);
    if (!key.open(QIODevice::ReadOnly))
        qFatal("The key cannot be read.");
    QSslConfiguration made = QSslConfiguration::defaultConfiguration();
    made.setLocalCertificateChain(QSslCertificate::fromPath(certificatePath));
    made.setPrivateKey(QSslKey(&key, QSsl::Rsa));
    return made;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return 2;
    Answers answers{preparedAnswers(), {}};
    QTcpServer plain;
    QSslServer encrypted;
    encrypted.setSslConfiguration(configuration(arguments.at(1), arguments.at(2)));
    serve(plain, answers);
    serve(encrypted, answers);
    std::printf("%d %d\n", plain.serverPort(), encrypted.serverPort());
    std::fflush(stdout);
    return QCoreApplication::exec();
}
