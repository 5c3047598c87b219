// SPDX-License-Identifier: MIT
#include "flood_server.h"
#include "network_session_fixture.h"

#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

constexpr qint64 kMiB = 1024 * 1024;

QByteArray chunkOf(const QByteArray &content)
{
    return QByteArray::number(content.size(), 16) + "\r\n" + content + "\r\n";
}

QByteArray answerWithHeaders(int count, qsizetype size)
{
    QByteArray headers;
    for (int i = 0; i < count; ++i)
        headers += "X-" + QByteArray::number(i) + ": " + QByteArray(size, 'x') + "\r\n";
    return RawHTTPServer::answer("200 OK", "{}", headers);
}

} // namespace

/// What a server may take of the memory, the processor and the time of the program.
class NetworkSessionBoundsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aBodyIsReadOnlyALittleAheadOfItsReader_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("block");
        const QByteArray block(64 * 1024, 'x');
        QTest::newRow("until the end of the connection") << QByteArray("Connection: close\r\n\r\n") << block;
        QTest::newRow("in chunks") << QByteArray("Transfer-Encoding: chunked\r\n\r\n") << chunkOf(block);
    }
    void aBodyIsReadOnlyALittleAheadOfItsReader()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, block);
        FloodServer server("HTTP/1.1 200 OK\r\n" + head, block);
        NetworkSession session;
        const auto outcome = start(session.send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.sent() > 0; }));
        // Nothing reads while this thread is busy.
        while (!server.isHeldUp() && server.ended() == 0 && server.sent() < 100 * kMiB)
            std::this_thread::yield();
        QVERIFY2(server.sent() < 24 * kMiB, qPrintable(QString::number(server.sent())));
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QCOMPARE(kindOf(*outcome), kTooLarge);
        QVERIFY(waitUntil([&] { return server.ended() == 1; }));
        QVERIFY2(server.sent() < 24 * kMiB, qPrintable(QString::number(server.sent())));
    }

    void aServerThatNeverComesToTheBodyIsCutOff_data()
    {
        QTest::addColumn<QByteArray>("beginning");
        QTest::addColumn<QByteArray>("block");
        const QByteArray letters(16 * 1024, 'x');
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        QTest::addColumn<QString>("text");
        const QString large = QStringLiteral("The answer of 127.0.0.1 is too large.");
        const QString damaged = QStringLiteral("The answer of 127.0.0.1 cannot be read.");
        QTest::newRow("status") << QByteArray("HTTP/1.1 200 ") << letters << large;
        QTest::newRow("one header") << ok + "X-One: " << letters << large;
        QTest::newRow("many headers") << ok << QByteArray("X-Many: x\r\n").repeated(1000) << large;
        QTest::newRow("go on") << QByteArray() << QByteArray("HTTP/1.1 100 Continue\r\n\r\n").repeated(1000) << large;
        const QByteArray chunked = ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n";
        QTest::newRow("length of a chunk") << chunked << letters << damaged;
    }
    void aServerThatNeverComesToTheBodyIsCutOff()
    {
        QFETCH(QByteArray, beginning);
        QFETCH(QByteArray, block);
        QFETCH(QString, text);
        FloodServer server(beginning, block);
        NetworkSession session;
        const auto outcome = await(session.send(get(server.url()), {}));
        QVERIFY(outcome.failedWithType<TransportError>());
        QCOMPARE(outcome.description(), text);
        QVERIFY(waitUntil([&] { return server.ended() == 1; }));
        QVERIFY2(server.sent() < 24 * kMiB, qPrintable(QString::number(server.sent())));
    }

    void theEndOfTheSessionEndsAnEndlessBodyAtOnce()
    {
        FloodServer server("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n", QByteArray(16 * 1024, 'x'));
        auto session = std::make_unique<NetworkSession>(limits(10s, 10s, 1024 * kMiB));
        const auto outcome = start(session->send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.sent() > 0; }));
        session.reset();
        QCOMPARE(kindOf(*outcome), kNetwork);
        QVERIFY(waitUntil([&] { return server.ended() == 1; }));
    }

    void otherConnectionsAreLeftAlone()
    {
        FloodServer flood("HTTP/1.1 200 OK\r\nX-One: ", QByteArray(16 * 1024, 'x'));
        RawHTTPServer server;
        QPointer<QTcpSocket> held;
        server.handler = [&](QTcpSocket *socket, const QByteArray &) {
            held = socket;
        };
        NetworkSession session;
        const auto patient = start(session.send(get(server.url()), {}));
        QCOMPARE(kindOf(await(session.send(get(flood.url()), {}))), kTooLarge);
        QVERIFY(held);
        held->write(RawHTTPServer::answer("200 OK", QByteArray(600'000, 'x')));
        QVERIFY(waitUntil([&] { return patient->isDone; }));
        QVERIFY2(patient->value, qPrintable(patient->description()));
    }

    void aHeadIsBounded_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("isRefused");
        // One header more is the length of the body.
        QTest::newRow("99 headers and the length") << answerWithHeaders(99, 100) << false;
        QTest::newRow("100 headers and the length") << answerWithHeaders(100, 100) << true;
        QTest::newRow("60 KiB") << answerWithHeaders(60, 1000) << false;
        QTest::newRow("70 KiB") << answerWithHeaders(70, 1000) << true;
    }
    void aHeadIsBounded()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, isRefused);
        RawHTTPServer server;
        server.answerAll(answer);
        NetworkSession session;
        const auto outcome = await(session.send(get(server.url()), {}));
        QCOMPARE(outcome.failedWithType<TransportError>(), isRefused);
    }

    void aBodyThatDripsIsGivenUp_data()
    {
        QTest::addColumn<QByteArray>("status");
        for (const char *status : {"200 OK", "401 Unauthorized", "500 Broken"})
            QTest::newRow(status) << QByteArray(status);
    }
    void aBodyThatDripsIsGivenUp()
    {
        QFETCH(QByteArray, status);
        FakeClock clock;
        RawHTTPServer server;
        server.handler = [status](QTcpSocket *socket, const QByteArray &request) {
            if (request.startsWith("GET /slow "))
                socket->write("HTTP/1.1 " + status + "\r\nContent-Length: 9000\r\n\r\n" + QByteArray(1024, 'x'));
            else
                socket->write(RawHTTPServer::answer("200 OK", "ok"));
        };
        NetworkSession session(NetworkSession::Limits(), NetworkSession::Names::Shown, &clock);
        const auto slow = start(session.send(get(server.url(QStringLiteral("/slow"))), {}));
        QVERIFY(waitUntil([&] { return clock.requestedSleeps.size() == 1; }));
        // What the server sent before this answer has arrived as well.
        awaitValue(session.send(get(server.url()), {}));
        clock.advance(30s);
        QVERIFY(!slow->isDone);
        clock.advance(29s);
        QVERIFY(!slow->isDone);
        clock.advance(1s);
        QVERIFY(waitUntil([&] { return slow->isDone; }));
        QCOMPARE(kindOf(*slow), kTimedOut);
        QCOMPARE(slow->description(), QStringLiteral("The answer of 127.0.0.1 came too slowly."));
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void aPackedBodyThatUnpacksToNothingIsGivenUp()
    {
        FakeClock clock;
        // Empty blocks of deflate, which give nothing when they are unpacked.
        const QByteArray empty = QByteArray::fromHex("0000000000ffff").mid(2).repeated(3000);
        FloodServer server(
            "HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nConnection: close\r\n\r\n" + QByteArray::fromHex("7801"),
            empty);
        NetworkSession session(NetworkSession::Limits(), NetworkSession::Names::Shown, &clock);
        const auto outcome = start(session.send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return outcome->isDone || (clock.requestedSleeps.size() == 1 && server.isHeldUp()); }));
        clock.advance(30s);
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QVERIFY(outcome->failedWithType<TransportError>());
        QVERIFY2(server.sent() < 24 * kMiB, qPrintable(QString::number(server.sent())));
    }
};

VELMORA_TEST(NetworkSessionBoundsTest)
#include "network_session_bounds_test.moc"
