// SPDX-License-Identifier: MIT
#include "simulator/client.h"

#include "support/test_main.h"

using namespace velmora::simulator;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;

class HTTPTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<Simulator> m_simulator;
    std::unique_ptr<Client> m_client;

    void misbehave(const QJsonObject &rule) { QCOMPARE(m_client->control(u"rules"_s, rule).status, 200); }

private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>(quiet());
        QVERIFY(m_simulator->start());
        m_client = std::make_unique<Client>(*m_simulator);
    }

    void aRuleAnswersWithAnyStatusHeadersAndBodyAsOftenAsItSays()
    {
        misbehave({{u"method"_s, u"GET"_s}, {u"path"_s, u"/user*"_s}, {u"after"_s, 1}, {u"times"_s, 1},
            {u"action"_s,
                QJsonObject{{u"status"_s, 503}, {u"body"_s, u"<html>"_s},
                    {u"headers"_s,
                        QJsonArray{
                            QJsonArray{u"Retry-After"_s, u"7"_s}, QJsonArray{u"Content-Type"_s, u"text/html"_s}}}}}});
        QCOMPARE(m_client->get(u"/user"_s).status, 401);
        const Answered faulty = m_client->get(u"/user/installations"_s);
        QCOMPARE(faulty.status, 503);
        QCOMPARE(faulty.body, "<html>");
        QCOMPARE(faulty.headers["retry-after"], "7");
        QCOMPARE(faulty.headers["content-type"], "text/html");
        QCOMPARE(m_client->get(u"/user"_s).status, 401);
    }

    void aRuleWithoutAStatusChangesTheOrdinaryAnswer()
    {
        misbehave({{u"action"_s, QJsonObject{{u"headers"_s, QJsonArray{QJsonArray{u"X-Odd"_s, u"1"_s}}}}}});
        const Answered changed = m_client->get(u"/user"_s);
        QCOMPARE(changed.status, 401);
        QCOMPARE(changed.headers["x-odd"], "1");
    }

    void deletingTheRulesEndsTheMisbehaviour()
    {
        misbehave({{u"action"_s, QJsonObject{{u"status"_s, 500}}}});
        QCOMPARE(m_client->get(u"/user"_s).status, 500);
        QCOMPARE(m_client->send("DELETE", u"/_control/rules"_s).status, 200);
        QCOMPARE(m_client->get(u"/user"_s).status, 401);
    }

    void aRuleThatIsNotUnderstoodIsRefused()
    {
        QCOMPARE(m_client->control(u"rules"_s, {{u"action"_s, QJsonObject{{u"explode"_s, true}}}}).status, 400);
        QCOMPARE(m_client->control(u"rules"_s, {{u"pth"_s, u"/"_s}}).status, 400);
        QCOMPARE(m_client->control(u"rules"_s, {}).status, 400);
        QCOMPARE(m_simulator->misbehaviour().count(), 0);
    }

    void aDelayedAnswerComesLate()
    {
        misbehave({{u"action"_s, QJsonObject{{u"delayMilliseconds"_s, 150}}}});
        const Answered late = m_client->get(u"/user"_s);
        QCOMPARE(late.status, 401);
        // A coarse timer may fire up to five percent early.
        QVERIFY(late.milliseconds >= 140);
    }

    void aTruncatedBodyEndsBeforeItsLength()
    {
        misbehave({{u"action"_s, QJsonObject{{u"truncateAfter"_s, 5}}}});
        const Answered cut = m_client->get(u"/user"_s);
        QVERIFY(cut.body.size() <= 5);
        // Qt notices only if the end of the connection arrives in time.
        const bool isNoticed = cut.error == QNetworkReply::RemoteHostClosedError;
        QVERIFY(isNoticed || cut.headers.value("content-length").toLongLong() > 5);
    }

    void aConnectionMayCloseBeforeOrInTheMiddleOfTheAnswer()
    {
        for (const auto &when : {u"before"_s, u"middle"_s}) {
            misbehave({{u"times"_s, 3}, {u"action"_s, QJsonObject{{u"closeConnection"_s, when}}}});
            QVERIFY(m_client->get(u"/user"_s).error != QNetworkReply::NoError);
            m_simulator->misbehaviour().clear();
        }
        QCOMPARE(m_client->get(u"/user"_s).status, 401);
    }

    void anEndlessBodyGoesOnUntilTheClientLeaves()
    {
        misbehave({{u"action"_s, QJsonObject{{u"status"_s, 200}, {u"endlessBody"_s, true}}}});
        const std::unique_ptr<QNetworkReply> reply(m_client->begin("GET", u"/user"_s));
        qint64 received = 0;
        connect(reply.get(), &QNetworkReply::readyRead, this, [&] { received += reply->readAll().size(); });
        QVERIFY(waitUntil([&] { return received > 20'000'000; }));
        QVERIFY(!reply->isFinished());
        reply->abort();
        QVERIFY(waitUntil([&] { return !m_simulator->log().entries().back().isOpen; }));
    }

    void aHangingRequestIsOpenUntilTheClientLeaves()
    {
        misbehave({{u"action"_s, QJsonObject{{u"hang"_s, true}}}});
        const std::unique_ptr<QNetworkReply> reply(m_client->begin("GET", u"/user"_s));
        QVERIFY(waitUntil([&] { return !m_simulator->log().entries().empty(); }));
        QVERIFY(m_simulator->log().entries().back().isOpen);
        reply->abort();
        QVERIFY(waitUntil([&] { return !m_simulator->log().entries().back().isOpen; }));
        QCOMPARE(m_simulator->log().entries().back().status, 0);
    }

    void whatHangsIsAnsweredWhenTheTestSaysSo()
    {
        misbehave({{u"times"_s, 2}, {u"action"_s, QJsonObject{{u"hang"_s, true}}}});
        const std::unique_ptr<QNetworkReply> patient(m_client->begin("GET", u"/user"_s));
        QVERIFY(waitUntil([&] { return m_simulator->hangingCount() == 1; }));
        const std::unique_ptr<QNetworkReply> impatient(m_client->begin("GET", u"/user/installations"_s));
        QVERIFY(waitUntil([&] { return m_simulator->hangingCount() == 2; }));
        impatient->abort();
        QVERIFY(waitUntil([&] { return m_simulator->hangingCount() == 1; }));
        m_simulator->answerHanging();
        QCOMPARE(m_simulator->hangingCount(), 0);
        QVERIFY(waitUntil([&] { return patient->isFinished(); }));
        QCOMPARE(patient->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 401);
    }

    void aRuleMayBeForTheRequestsOfOnePerson()
    {
        const QString login = m_simulator->world().owners().at(1).login;
        const QString other = m_simulator->world().owners().at(0).login;
        misbehave({{u"login"_s, login}, {u"action"_s, QJsonObject{{u"status"_s, 500}}}});
        QCOMPARE(m_client->get(u"/user"_s, m_simulator->issueAccessToken(login)).status, 500);
        QCOMPARE(m_client->get(u"/user"_s, m_simulator->issueAccessToken(other)).status, 200);
        QCOMPARE(m_client->get(u"/user"_s).status, 401);
    }

    void theClockMayBeTheTestsOwn()
    {
        SimulatorOptions options = quiet();
        Milliseconds time = 1'000;
        options.clock = [&time] {
            return time;
        };
        Simulator simulator(options);
        QCOMPARE(simulator.now(), 1'000);
        time = 5'000;
        simulator.advanceClock(500);
        QCOMPARE(simulator.now(), 5'500);
    }

    void theLogKeepsLineHeadersInOrderAndBody()
    {
        m_client->send("POST", u"/login/device/code?x=1&y=%20"_s, "client_id=a&b=c");
        const QJsonArray list = QJsonDocument::fromJson(m_client->get(u"/_control/requests"_s).body).array();
        QCOMPARE(list.size(), 1);
        const QJsonObject entry = list[0].toObject();
        QCOMPARE(entry["method"_L1], u"POST"_s);
        QCOMPARE(entry["path"_L1], u"/login/device/code"_s);
        QCOMPARE(entry["query"_L1], u"x=1&y=%20"_s);
        QCOMPARE(entry["body"_L1], u"client_id=a&b=c"_s);
        QCOMPARE(entry["status"_L1], 404);
        QCOMPARE(entry["headers"_L1].toArray()[0].toArray()[0], u"Host"_s);
        m_client->send("DELETE", u"/_control/requests"_s);
        QVERIFY(m_simulator->log().entries().empty());
    }

    void theLogTellsOfRequestsThatOverlap()
    {
        misbehave({{u"times"_s, 1}, {u"action"_s, QJsonObject{{u"hang"_s, true}}}});
        const std::unique_ptr<QNetworkReply> first(m_client->begin("GET", u"/user"_s, {}, u"one"_s));
        QVERIFY(waitUntil([&] { return m_simulator->log().entries().size() == 1; }));
        m_client->get(u"/user"_s, u"two"_s);
        QCOMPARE(m_simulator->log().entries().back().unanswered, 0);
        m_client->get(u"/user"_s, u"one"_s);
        QCOMPARE(m_simulator->log().entries().back().unanswered, 1);
    }

    void theLogIsBounded()
    {
        RequestLog log;
        Request request;
        request.body = QByteArray(RequestLog::kMostBodyBytes + 1, 'x');
        for (std::size_t i = 0; i <= RequestLog::kMostEntries; ++i)
            log.finish(log.begin(i == 0 ? request : Request()), 200);
        QCOMPARE(log.entries().size(), RequestLog::kMostEntries);
        QCOMPARE(log.entries().front().number, 2U);
        log.begin(request);
        QCOMPARE(log.entries().back().request.body.size(), RequestLog::kMostBodyBytes);
    }

    void aPictureIsServedForEveryone()
    {
        const Answered picture = m_client->get(u"/avatars/u/5?v=4"_s);
        QCOMPARE(picture.headers["content-type"], "image/png");
        QVERIFY(picture.body.startsWith("\x89PNG\r\n\x1a\n"));
        QVERIFY(avatarDiffers());
    }

    void anUnknownControlAndABodyThatIsNoObjectAreRefused()
    {
        QCOMPARE(m_client->control(u"nothing"_s, {}).status, 404);
        QCOMPARE(m_client->send("POST", u"/_control/story"_s, "{").status, 400);
    }

private:
    bool avatarDiffers() { return m_client->get(u"/avatars/u/5"_s).body != m_client->get(u"/avatars/u/6"_s).body; }
};

VELMORA_TEST(HTTPTest)
#include "http_test.moc"
