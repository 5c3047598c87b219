// SPDX-License-Identifier: MIT
#include "flood_server.h"
#include "network_session_fixture.h"

#include "support/test_main.h"

#include <QTest>
#include <QTimer>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class NetworkSessionFailuresTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void silenceEndsARequest()
    {
        RawHTTPServer server;
        NetworkSession session(limits(80ms, 20s));
        const auto outcome = await(session.send(get(server.url(QStringLiteral("/?token=x"))), {}));
        QCOMPARE(kindOf(outcome), kTimedOut);
        QCOMPARE(outcome.description(), QStringLiteral("The connection to 127.0.0.1 timed out."));
    }

    void bytesThatTrickleDoNotOutlastTheDeadline()
    {
        RawHTTPServer server;
        QTimer trickle;
        server.handler = [&trickle](QTcpSocket *socket, const QByteArray &) {
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\n");
            connect(&trickle, &QTimer::timeout, socket, [socket] { socket->write("x"); });
            trickle.start(10);
        };
        NetworkSession session(limits(10s, 150ms));
        const auto outcome = await(session.send(get(server.url()), {}));
        QCOMPARE(kindOf(outcome), kTimedOut);
        QCOMPARE(outcome.description(), QStringLiteral("The connection to 127.0.0.1 timed out."));
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void redirectsShareTheDeadline()
    {
        RawHTTPServer server;
        server.handler = [](QTcpSocket *socket, const QByteArray &request) {
            if (request.startsWith("GET /a "))
                socket->write(redirect("302", "/b"));
        };
        NetworkSession session(limits(10s, 100ms));
        QCOMPARE(kindOf(await(session.send(get(server.url(QStringLiteral("/a"))), {}))), kTimedOut);
        QCOMPARE(server.requests.size(), 2);
    }

    void aBodyOverTheLimitIsRefused_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("isRefused");
        const QByteArray endless = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n";
        QTest::newRow("announced") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1001\r\n\r\nx") << true;
        QTest::newRow("not announced") << QByteArray(endless + QByteArray(1001, 'x')) << true;
        QTest::newRow("chunked") << QByteArray(
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3e9\r\n" + QByteArray(1001, 'x') + "\r\n")
                                 << true;
        QTest::newRow("just fits") << RawHTTPServer::answer("200 OK", QByteArray(1000, 'x')) << false;
    }
    void aBodyOverTheLimitIsRefused()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, isRefused);
        RawHTTPServer server;
        server.answerAll(answer);
        NetworkSession session(limits(10s, 10s));
        const auto outcome = await(session.send(get(server.url()), {}));
        QCOMPARE(kindOf(outcome), isRefused ? kTooLarge : std::nullopt);
        if (isRefused)
            QCOMPARE(outcome.description(), QStringLiteral("The answer of 127.0.0.1 is too large."));
        else
            QCOMPARE(outcome.value->body.size(), 1000);
    }

    void aCompressedBodyCountsAsWhatItUnpacksTo()
    {
        // qCompress() puts four bytes of length before the zlib stream.
        const QByteArray packed = qCompress(QByteArray(20'000, 'x')).mid(4);
        QVERIFY(packed.size() < 1000);
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", packed, "Content-Encoding: deflate\r\n"));
        NetworkSession small(limits(10s, 10s));
        QCOMPARE(kindOf(await(small.send(get(server.url()), {}))), kTooLarge);
        NetworkSession large(limits(10s, 10s, 20'000));
        QCOMPARE(awaitValue(large.send(get(server.url()), {})).body, QByteArray(20'000, 'x'));
    }

    void aPackedBodyMayBeLargerThanWhatItUnpacksTo()
    {
        const QByteArray packed = qCompress(QByteArray("{}")).mid(4);
        QVERIFY(packed.size() > 2);
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", packed, "Content-Encoding: deflate\r\n"));
        NetworkSession session(limits(10s, 10s));
        QCOMPARE(awaitValue(session.send(get(server.url()), {})).body, QByteArray("{}"));
    }

    void anAnswerThatNothingHasChangedMayTellTheLengthOfWhatItLeavesOut()
    {
        RawHTTPServer server;
        server.answerAll("HTTP/1.1 304 Not Modified\r\nContent-Length: 100\r\n\r\n");
        NetworkSession session(limits(10s, 10s));
        QCOMPARE(awaitValue(session.send(get(server.url()), {})).statusCode, std::optional(304));
    }

    void aDecompressionBombFails()
    {
        const QByteArray packed = qCompress(QByteArray(40'000'000, 'x'), 9).mid(4);
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", packed, "Content-Encoding: deflate\r\n"));
        NetworkSession session;
        const auto outcome = await(session.send(get(server.url()), {}));
        QVERIFY(outcome.failedWithType<TransportError>());
    }

    void aBrokenBodyFailsThoughAStatusWasReceived_data()
    {
        QTest::addColumn<QByteArray>("start");
        // The bytes and the end of the connection usually arrive together.
        QTest::newRow("truncated") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{}");
        QTest::newRow("truncated refusal") << QByteArray("HTTP/1.1 403 No\r\nContent-Length: 100\r\n\r\n{}");
        QTest::newRow("half a head") << QByteArray("HTTP/1.1 200 OK\r\nContent-Le");
        QTest::newRow("nothing") << QByteArray();
    }
    void aBrokenBodyFailsThoughAStatusWasReceived()
    {
        QFETCH(QByteArray, start);
        RawHTTPServer server;
        server.handler = [start](QTcpSocket *socket, const QByteArray &) {
            socket->write(start);
            socket->disconnectFromHost();
        };
        NetworkSession session(limits(5s, 10s));
        const auto outcome = await(session.send(get(server.url(QStringLiteral("/?token=secret"))), {}));
        QCOMPARE(kindOf(outcome), kNetwork);
        QCOMPARE(
            outcome.description(), QStringLiteral("127.0.0.1 closed the connection before the answer was complete."));
    }

    void aRefusedConnectionIsToldWithoutTheQuery()
    {
        QUrl url;
        {
            const RawHTTPServer server;
            url = server.url(QStringLiteral("/?token=secret"));
        }
        NetworkSession session(limits(5s, 10s));
        const auto outcome = await(session.send(get(url), {}));
        QCOMPARE(kindOf(outcome), kNetwork);
        QVERIFY(!outcome.description().isEmpty());
        QVERIFY(!outcome.description().contains(QLatin1String("secret")));
        QCOMPARE(outcome.description(), QStringLiteral("Connection refused"));
    }

    void aHostThatIsNotFoundIsNamed()
    {
        NetworkSession session(limits(10s, 15s));
        const auto outcome = await(session.send(get(QUrl(QStringLiteral("http://nowhere.invalid/?token=secret"))), {}));
        QCOMPARE(kindOf(outcome), kNetwork);
        QCOMPARE(outcome.description(), QStringLiteral("Host nowhere.invalid not found"));
    }

    void aServerThatDoesNotEncryptGetsNoRequest()
    {
        FloodServer server("HTTP/1.1 400 Plain\r\n\r\n", "plain");
        QUrl url = server.url();
        url.setScheme(QStringLiteral("https"));
        NetworkSession session(limits(10s, 15s));
        const auto outcome = await(session.send(get(url), {}));
        QCOMPARE(kindOf(outcome), kNetwork);
        QCOMPARE(outcome.description(), QStringLiteral("No encrypted connection to 127.0.0.1 could be made."));
    }

    void anAnswerThatIsNoHTTPFails()
    {
        RawHTTPServer server;
        server.handler = [](QTcpSocket *socket, const QByteArray &) {
            socket->write("SSH-2.0-OpenSSH\r\n\r\n");
            socket->disconnectFromHost();
        };
        NetworkSession session(limits(5s, 10s));
        QVERIFY(await(session.send(get(server.url()), {})).failedWithType<TransportError>());
    }

    void nothingButHTTPIsSent_data()
    {
        QTest::addColumn<QString>("address");
        for (const char *address : {"", "file:///etc/hostname", "data:text/plain,x", "ftp://127.0.0.1/", "http:///x"})
            QTest::newRow(address) << QString::fromLatin1(address);
    }
    void nothingButHTTPIsSent()
    {
        QFETCH(QString, address);
        NetworkSession session;
        QCOMPARE(kindOf(await(session.send(get(QUrl(address)), {}))), kNetwork);
    }

    void aValueWithALineBreakIsNotSent()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", {}));
        NetworkSession session;
        HTTPRequest request = get(server.url());
        request.headers.append(std::pair(QByteArray("X-Bad"), QByteArray("a\r\nX-Smuggled: 1")));
        QCOMPARE(kindOf(await(session.send(request, {}))), kNetwork);
        QCOMPARE(server.connections, 0);
    }
};

VELMORA_TEST(NetworkSessionFailuresTest)
#include "network_session_failures_test.moc"
