// SPDX-License-Identifier: MIT
#include "network_session_fixture.h"

#include "support/test_main.h"

#include <QTest>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class NetworkSessionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGetSendsItsHeadersInOrderOverHTTP1AndReturnsTheWholeAnswer()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", "hello", "X-One: 1\r\n"));
        NetworkSession session;
        const auto response = awaitValue(session.send(get(server.url(QStringLiteral("/a?b=c"))), {}));
        QCOMPARE(response.statusCode, std::optional(200));
        QCOMPARE(response.body, QByteArray("hello"));
        QCOMPARE(response.header("x-one"), std::optional(QByteArray("1")));
        const QByteArray request = server.requests.value(0);
        QVERIFY(request.startsWith("GET /a?b=c HTTP/1.1\r\n"));
        QByteArrayList own = headerNames(request);
        own.removeIf(
            [](const QByteArray &name) { return name != "Authorization" && name != "Accept" && name != "X-Own"; });
        QCOMPARE(own, (QByteArrayList{"Authorization", "Accept", "X-Own"}));
        QVERIFY(!headerNames(request).contains("Cookie"));
        QVERIFY(!request.toLower().contains("upgrade"));
        QVERIFY(request.toLower().contains("accept-encoding:"));
    }

    void aPostSendsItsBodyAndHeadersInOrder()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("201 Created", "{}"));
        NetworkSession session;
        const auto response = awaitValue(session.send(post(server.url(), "the body"), {}));
        QCOMPARE(response.statusCode, std::optional(201));
        const QByteArray request = server.requests.value(0);
        QVERIFY(request.startsWith("POST / HTTP/1.1\r\n"));
        QVERIFY(request.endsWith("\r\n\r\nthe body"));
        QByteArrayList own = headerNames(request);
        own.removeIf([](const QByteArray &name) {
            return name != "Authorization" && name != "Content-Type" && name != "Accept";
        });
        QCOMPARE(own, (QByteArrayList{"Authorization", "Content-Type", "Accept"}));
    }

    void anEmptyQueryIsSent()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", {}));
        NetworkSession session;
        awaitValue(session.send(get(server.url(QStringLiteral("/a?"))), {}));
        QVERIFY(server.requests.value(0).startsWith("GET /a? HTTP/1.1\r\n"));
    }

    void requestsInSequenceShareAConnection()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", "x"));
        NetworkSession session;
        for (int i = 0; i < 3; ++i)
            awaitValue(session.send(get(server.url()), {}));
        QCOMPARE(server.requests.size(), 3);
        QCOMPARE(server.connections, 1);
    }

    void aConnectionIsNotPassedToProgramsThatAreStarted()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", "x"));
        NetworkSession session;
        awaitValue(session.send(get(server.url()), {}));
        int connections = 0;
        for (int descriptor = 3; descriptor < 100; ++descriptor) {
            sockaddr_in peer{};
            socklen_t size = sizeof peer;
            if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) != 0
                || peer.sin_family != AF_INET)
                continue;
            QVERIFY(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
            ++connections;
        }
        QCOMPARE(connections, 2); // the client's end and the server's
    }

    void everyStatusIsAnAnswer_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("headers");
        for (const int status : {204, 304, 400, 403, 404, 405, 409, 410, 418, 422, 429, 500, 501, 502, 503, 504})
            QTest::addRow("%d", status) << status << QByteArray();
        QTest::newRow("401") << 401 << QByteArray();
        QTest::newRow("401 with a challenge") << 401 << QByteArray("WWW-Authenticate: Basic realm=\"x\"\r\n");
    }
    void everyStatusIsAnAnswer()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, headers);
        const bool hasBody = status != 204 && status != 304;
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer(
            QByteArray::number(status) + " Reason", hasBody ? QByteArray("body") : QByteArray(), headers));
        NetworkSession session;
        const auto response = awaitValue(session.send(get(server.url()), {}));
        QCOMPARE(response.statusCode, std::optional(status));
        QCOMPARE(response.body, hasBody ? QByteArray("body") : QByteArray());
        QCOMPARE(server.requests.size(), 1);
    }

    void cookiesAreNotKept()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("200 OK", {}, "Set-Cookie: a=b\r\nCache-Control: max-age=60\r\n"));
        NetworkSession session;
        awaitValue(session.send(get(server.url()), {}));
        awaitValue(session.send(get(server.url()), {}));
        QCOMPARE(server.requests.size(), 2);
        QVERIFY(!server.requests.at(1).toLower().contains("cookie"));
    }

    void aRedirectOnTheSameOriginIsFollowedWithMethodAndBody_data()
    {
        QTest::addColumn<QByteArray>("status");
        for (const char *status : {"301", "302", "307", "308"})
            QTest::newRow(status) << QByteArray(status);
    }
    void aRedirectOnTheSameOriginIsFollowedWithMethodAndBody()
    {
        QFETCH(QByteArray, status);
        RawHTTPServer server;
        server.answerPaths({{"/a", redirect(status, "/b?c=d")}, {"/b?c=d", RawHTTPServer::answer("200 OK", "there")}});
        NetworkSession session;
        const auto response = awaitValue(session.send(post(server.url(QStringLiteral("/a")), "the body"), {}));
        QCOMPARE(response.body, QByteArray("there"));
        QCOMPARE(server.requests.size(), 2);
        QVERIFY(server.requests.at(1).startsWith("POST /b?c=d "));
        QVERIFY(server.requests.at(1).endsWith("\r\n\r\nthe body"));
        QVERIFY(server.requests.at(1).contains("Authorization: Bearer secret\r\n"));
    }

    void aSeeOtherBecomesAGetWithoutABody()
    {
        RawHTTPServer server;
        server.answerPaths({{"/a", redirect("303", "/b")}, {"/b", RawHTTPServer::answer("200 OK", "there")}});
        NetworkSession session;
        const auto response = awaitValue(session.send(post(server.url(QStringLiteral("/a")), "the body"), {}));
        QCOMPARE(response.body, QByteArray("there"));
        QVERIFY(server.requests.value(1).startsWith("GET /b "));
        QVERIFY(server.requests.value(1).endsWith("\r\n\r\n"));
        QVERIFY(!headerNames(server.requests.value(1)).contains("Content-Type"));
    }

    void threeRedirectsAreFollowedAndTheFourthIsTheAnswer()
    {
        RawHTTPServer server;
        server.answerPaths({{"/a", redirect("302", "/b")}, {"/b", redirect("302", "/c")}, {"/c", redirect("302", "/d")},
            {"/d", redirect("302", "/e")}, {"/e", RawHTTPServer::answer("200 OK", "")}});
        NetworkSession session;
        const auto response = awaitValue(session.send(get(server.url(QStringLiteral("/a"))), {}));
        QCOMPARE(response.statusCode, std::optional(302));
        QCOMPARE(response.header("location"), std::optional(QByteArray("/e")));
        QCOMPARE(server.requests.size(), 4);
        QCOMPARE(awaitValue(session.send(get(server.url(QStringLiteral("/b"))), {})).statusCode, std::optional(200));
    }

    void aRedirectToAnotherOriginIsTheAnswerAndTakesNoTokenThere_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("port") << QStringLiteral("http://127.0.0.1:%1/");
        QTest::newRow("host") << QStringLiteral("http://localhost:%1/");
        QTest::newRow("no scheme") << QStringLiteral("//localhost:%1/");
    }
    void aRedirectToAnotherOriginIsTheAnswerAndTakesNoTokenThere()
    {
        QFETCH(QString, target);
        RawHTTPServer other;
        other.answerAll(RawHTTPServer::answer("200 OK", "other"));
        RawHTTPServer server;
        server.answerAll(redirect("302", target.arg(other.url().port()).toLatin1()));
        NetworkSession session;
        const auto response = awaitValue(session.send(get(server.url()), {}));
        QCOMPARE(response.statusCode, std::optional(302));
        QCOMPARE(response.body, QByteArray("over there"));
        QCOMPARE(server.requests.size(), 1);
        QCOMPARE(other.connections, 0);
    }

    void aRedirectThatCannotBeFollowedIsTheAnswer_data()
    {
        QTest::addColumn<QString>("location");
        QTest::newRow("other scheme") << QStringLiteral("https://127.0.0.1:%1/b");
        QTest::newRow("a user") << QStringLiteral("http://user@127.0.0.1:%1/b");
        QTest::newRow("a file") << QStringLiteral("file:///etc/hostname");
        QTest::newRow("nonsense") << QStringLiteral("http://[%1");
    }
    void aRedirectThatCannotBeFollowedIsTheAnswer()
    {
        QFETCH(QString, location);
        RawHTTPServer server;
        server.answerAll(
            redirect("302", location.replace(QLatin1String("%1"), QString::number(server.url().port())).toLatin1()));
        NetworkSession session;
        QCOMPARE(awaitValue(session.send(get(server.url()), {})).statusCode, std::optional(302));
        QCOMPARE(server.requests.size(), 1);
    }

    void aRedirectWithoutALocationIsTheAnswer()
    {
        RawHTTPServer server;
        server.answerAll(RawHTTPServer::answer("302 Found", "x"));
        NetworkSession session;
        QCOMPARE(awaitValue(session.send(get(server.url()), {})).statusCode, std::optional(302));
    }
};

VELMORA_TEST(NetworkSessionTest)
#include "network_session_test.moc"
