// SPDX-License-Identifier: MIT
#include "network_session_fixture.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class NetworkSessionEndingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aStopBeforeTheRequestSendsNothing()
    {
        RawHTTPServer server;
        NetworkSession session;
        std::stop_source stop;
        stop.request_stop();
        QVERIFY(await(session.send(get(server.url()), stop.get_token())).failedWithType<CancellationError>());
        QCOMPARE(server.connections, 0);
    }

    void aStopWhileConnectingEndsTheRequestFromTheEventLoop()
    {
        RawHTTPServer server; // never answers the TLS handshake
        QUrl url = server.url();
        url.setScheme(QStringLiteral("https"));
        NetworkSession session;
        std::stop_source stop;
        const auto outcome = start(session.send(get(url), stop.get_token()));
        QVERIFY(waitUntil([&] { return server.connections == 1; }));
        stopAndCheck(stop, outcome);
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void aConnectionThatNeverOpensDoesNotHoldTheNextRequestUp()
    {
        RawHTTPServer server; // never answers the TLS handshake
        QUrl url = server.url();
        url.setScheme(QStringLiteral("https"));
        NetworkSession session(limits(60ms, 10s));
        QCOMPARE(kindOf(await(session.send(get(url), {}))), kTimedOut);
        QCOMPARE(kindOf(await(session.send(get(url), {}))), kTimedOut);
        QCOMPARE(server.connections, 2);
    }

    void aStopLeavesOtherRequestsAlone()
    {
        RawHTTPServer server;
        QPointer<QTcpSocket> second;
        server.handler = [&](QTcpSocket *socket, const QByteArray &request) {
            if (request.startsWith("GET /second "))
                second = socket;
        };
        NetworkSession session;
        std::stop_source stop;
        const auto stopped = start(session.send(get(server.url(QStringLiteral("/first"))), stop.get_token()));
        const auto kept = start(session.send(get(server.url(QStringLiteral("/second"))), {}));
        QVERIFY(waitUntil([&] { return server.requests.size() == 2; }));
        stopAndCheck(stop, stopped);
        QVERIFY(!kept->isDone);
        second->write(RawHTTPServer::answer("200 OK", "kept"));
        QVERIFY(waitUntil([&] { return kept->isDone; }));
        QCOMPARE(kept->value->body, QByteArray("kept"));
    }

    void aStopWhileWaitingEndsTheRequestFromTheEventLoop()
    {
        RawHTTPServer server;
        NetworkSession session;
        std::stop_source stop;
        const auto outcome = start(session.send(get(server.url()), stop.get_token()));
        QVERIFY(waitUntil([&] { return server.requests.size() == 1; }));
        stopAndCheck(stop, outcome);
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void aStopInTheBodyEndsTheRequestFromTheEventLoop()
    {
        RawHTTPServer server;
        bool isWritten = false;
        server.handler = [&](QTcpSocket *socket, const QByteArray &) {
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{}");
            connect(socket, &QTcpSocket::bytesWritten, socket, [&] { isWritten = true; });
        };
        NetworkSession session;
        std::stop_source stop;
        const auto outcome = start(session.send(get(server.url()), stop.get_token()));
        QVERIFY(waitUntil([&] { return isWritten; }));
        drainEvents();
        stopAndCheck(stop, outcome);
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void droppedConnectionsFailTheirRequestsAndTheNextOneIsNew()
    {
        RawHTTPServer server;
        NetworkSession session;
        const auto first = start(session.send(get(server.url()), {}));
        const auto second = start(session.send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.requests.size() == 2; }));
        session.dropConnections();
        QVERIFY(!first->isDone);
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(kindOf(*first), kNetwork);
        QCOMPARE(kindOf(*second), kNetwork);
        QCOMPARE(
            first->description(), QStringLiteral("The connection to 127.0.0.1 was closed before the answer arrived."));
        server.answerAll(RawHTTPServer::answer("200 OK", "new"));
        QCOMPARE(awaitValue(session.send(get(server.url()), {})).body, QByteArray("new"));
        QCOMPARE(server.connections, 3);
    }

    void anIdleConnectionIsDroppedAsWell()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", "x"));
        NetworkSession session;
        awaitValue(session.send(get(server.url()), {}));
        session.dropConnections();
        awaitValue(session.send(get(server.url()), {}));
        QCOMPARE(server.connections, 2);
    }

    void anUnrepeatableRequestGoesOnWhenConnectionsAreDropped()
    {
        RawHTTPServer server;
        QPointer<QTcpSocket> held;
        server.handler = [&](QTcpSocket *socket, const QByteArray &request) {
            if (request.startsWith("POST"))
                held = socket;
        };
        NetworkSession session;
        const auto once = start(session.send(unrepeatable(server.url()), {}));
        const auto ordinary = start(session.send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.requests.size() == 2; }));
        session.dropConnections();
        QVERIFY(waitUntil([&] { return ordinary->isDone && server.closedConnections == 1; }));
        QCOMPARE(kindOf(*ordinary), kNetwork);
        QVERIFY(!once->isDone);
        QVERIFY(held);
        held->write(RawHTTPServer::answer("200 OK", "the only answer"));
        QVERIFY(waitUntil([&] { return once->isDone; }));
        QVERIFY2(once->value, qPrintable(once->description()));
        QCOMPARE(once->value->body, QByteArray("the only answer"));
    }

    void anUnrepeatableRequestHasAConnectionOfItsOwn()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", "x"));
        NetworkSession session;
        awaitValue(session.send(get(server.url()), {}));
        awaitValue(session.send(unrepeatable(server.url()), {}));
        QCOMPARE(server.connections, 2);
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
        awaitValue(session.send(unrepeatable(server.url()), {}));
        QCOMPARE(server.connections, 3);
        // The shared connection is still open.
        awaitValue(session.send(get(server.url()), {}));
        QCOMPARE(server.connections, 3);
        QVERIFY(server.requests.at(1).endsWith("\r\n\r\nworks once"));
    }

    void anUnrepeatableRequestKeepsItsLimits()
    {
        RawHTTPServer server;
        NetworkSession session(limits(1500ms, 10s));
        const auto outcome = start(session.send(unrepeatable(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.requests.size() == 1; }));
        session.dropConnections();
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QCOMPARE(kindOf(*outcome), kTimedOut);
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void aStopEndsAnUnrepeatableRequest()
    {
        RawHTTPServer server;
        NetworkSession session;
        std::stop_source stop;
        const auto outcome = start(session.send(unrepeatable(server.url()), stop.get_token()));
        QVERIFY(waitUntil([&] { return server.requests.size() == 1; }));
        stopAndCheck(stop, outcome);
        QVERIFY(waitUntil([&] { return server.closedConnections == 1; }));
    }

    void aRequestIsSentAgainWhenItsConnectionBreaksButNotOneThatIsUnrepeatable_data()
    {
        QTest::addColumn<QByteArray>("beginning");
        QTest::addColumn<bool>("isReset");
        QTest::newRow("closed before the answer") << QByteArray() << false;
        QTest::newRow("reset before the answer") << QByteArray() << true;
        QTest::newRow("closed within the first line") << QByteArray("HTTP/1.1 2") << false;
    }

    void aRequestIsSentAgainWhenItsConnectionBreaksButNotOneThatIsUnrepeatable()
    {
        QFETCH(QByteArray, beginning);
        QFETCH(bool, isReset);
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", "x"));
        NetworkSession session;
        awaitValue(session.send(get(server.url()), {}));
        server.requests.clear();
        server.handler = [&](QTcpSocket *socket, const QByteArray &) {
            if (!beginning.isEmpty()) {
                socket->write(beginning);
                socket->flush();
            }
            if (isReset)
                socket->abort();
            else
                socket->disconnectFromHost();
        };
        // An ordinary request is repeated if its connection has worked before; else the rest would prove nothing.
        std::ignore = await(session.send(post(server.url(), "works often"), {}));
        QVERIFY(server.requests.size() > 1);
        server.requests.clear();
        const auto outcome = await(session.send(unrepeatable(server.url()), {}));
        QCOMPARE(server.requests.size(), 1);
        QCOMPARE(kindOf(outcome), kNetwork);
        QCOMPARE(
            outcome.description(), QStringLiteral("127.0.0.1 closed the connection before the answer was complete."));
        drainEvents();
        QCOMPARE(server.requests.size(), 1);
    }

    void aClosedSessionEndsEveryRequestAndTakesNone()
    {
        RawHTTPServer server;
        NetworkSession session;
        const auto once = start(session.send(unrepeatable(server.url()), {}));
        const auto ordinary = start(session.send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.requests.size() == 2; }));
        session.close();
        QVERIFY(waitUntil([&] { return once->isDone && ordinary->isDone && server.closedConnections == 2; }));
        QCOMPARE(kindOf(*once), kNetwork);
        QCOMPARE(kindOf(*ordinary), kNetwork);
        QCOMPARE(kindOf(await(session.send(get(server.url()), {}))), kNetwork);
        QCOMPARE(server.requests.size(), 2);
    }

    void theEndOfTheSessionEndsItsRequestsOnTheSpot()
    {
        RawHTTPServer server;
        auto session = std::make_unique<NetworkSession>();
        const auto waiting = start(session->send(get(server.url()), {}));
        QVERIFY(waitUntil([&] { return server.requests.size() == 1; }));
        const auto fresh = start(session->send(get(server.url()), {}));
        session.reset();
        QCOMPARE(kindOf(*waiting), kNetwork);
        QCOMPARE(kindOf(*fresh), kNetwork);
    }

    void theEndOfTheSessionCompletesARequestThatWasStopped()
    {
        RawHTTPServer server;
        auto session = std::make_unique<NetworkSession>();
        std::stop_source stop;
        const auto outcome = start(session->send(get(server.url()), stop.get_token()));
        stop.request_stop();
        QVERIFY(!outcome->isDone);
        session.reset();
        QVERIFY(outcome->failedWithType<CancellationError>());
    }

private:
    static void stopAndCheck(std::stop_source &stop, const std::shared_ptr<Outcome<HTTPResponse>> &outcome)
    {
        QVERIFY(!outcome->isDone);
        stop.request_stop();
        QVERIFY(!outcome->isDone);
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QVERIFY(outcome->failedWithType<CancellationError>());
    }
};

VELMORA_TEST(NetworkSessionEndingsTest)
#include "network_session_endings_test.moc"
