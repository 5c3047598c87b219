// SPDX-License-Identifier: MIT
#include "simulator/client.h"

#include "support/test_main.h"

using namespace velmora::simulator;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;

// tests/contract compares the shapes of the answers with GitHub's published schemas.
class APITest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<Simulator> m_simulator;
    std::unique_ptr<Client> m_client;

    static QString query()
    {
        return u"query VelmoraDeployments($ids: [ID!]!) {\n nodes(ids: $ids) {\n... on Repository { id nameWithOwner "
               u"url\n"
               "deployments(first: 20, orderBy: {field: CREATED_AT, direction: DESC}) { nodes { id environment "
               "latestEnvironment commitOid createdAt updatedAt state creator { login } latestStatus { state "
               "description "
               "environment environmentUrl logUrl updatedAt } } } } }\n rateLimit { cost remaining resetAt } }"_s;
    }

    Answered ask(const QString &token, const QStringList &ids, const QString &text = query())
    {
        const QJsonObject body{
            {u"query"_s, text}, {u"variables"_s, QJsonObject{{u"ids"_s, QJsonArray::fromStringList(ids)}}}};
        return m_client->send("POST", u"/graphql"_s, QJsonDocument(body).toJson(), token);
    }

    static QJsonArray nodes(const Answered &answered) { return answered.json()["data"_L1]["nodes"_L1].toArray(); }

private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>(quiet());
        QVERIFY(m_simulator->start());
        m_client = std::make_unique<Client>(*m_simulator);
    }

    void askingForTheRateLimitsCostsNothing()
    {
        const QString token = m_simulator->issueAccessToken(u"mira-oakes"_s);
        std::ignore = ask(token, {});
        for (int i = 0; i < 2; ++i) {
            const auto answered = m_client->send("GET", u"/rate_limit"_s, {}, token);
            QCOMPARE(answered.status, 200);
            QCOMPARE(answered.json()["resources"_L1]["graphql"_L1]["remaining"_L1].toInt(), 4'999);
            QCOMPARE(answered.json()["resources"_L1]["core"_L1]["remaining"_L1].toInt(), 5'000);
        }
        QCOMPARE(
            m_client->send("GET", u"/rate_limit"_s, {}, {}).json()["resources"_L1]["core"_L1]["limit"_L1].toInt(), 60);
        QCOMPARE(m_client->send("GET", u"/rate_limit"_s, {}, u"ghu_wrong"_s).status, 401);
    }

    void nodesComeInTheOrderOfTheIdentifiers()
    {
        m_simulator->replaceWorld({.repositories = 3, .deployments = 2});
        const QString token = m_simulator->issueAccessToken(u"user-1"_s);
        const auto &repositories = m_simulator->world().repositories();
        const auto list = nodes(ask(token, {repositories[2].nodeID, u"nothing"_s, repositories[0].nodeID}));
        QCOMPARE(list[0]["nameWithOwner"_L1], u"user-1/repository-0003"_s);
        QVERIFY(list[1].isNull());
        QCOMPARE(list[2]["nameWithOwner"_L1], u"user-1/repository-0001"_s);
    }

    void aRepositoryThatThePersonCannotSeeIsNotFound()
    {
        const World &world = m_simulator->world();
        const QString id = world.repositories()[*world.repositoryWithName(u"mira-oakes/dotfiles"_s)].nodeID;
        QVERIFY(nodes(ask(m_simulator->issueAccessToken(u"mira-oakes"_s), {id}))[0].isObject());
        QVERIFY(nodes(ask(m_simulator->issueAccessToken(u"tobias-renn"_s), {id}))[0].isNull());
    }

    void whitespaceOfTheQueryMeansNothingButItsWordsDo()
    {
        const QString token = m_simulator->issueAccessToken(u"mira-oakes"_s);
        QVERIFY(ask(token, {}, query().replace(u'\n', u' ').replace(u" {"_s, u"\n\n{ "_s)).json().contains("data"_L1));
        QVERIFY(!ask(token, {}, query().replace(u"first: 20"_s, u"first: 10"_s)).json().contains("data"_L1));
        QVERIFY(!ask(token, {}, query().replace(u"id environment"_s, u"idenvironment"_s)).json().contains("data"_L1));
    }

    void everyQueryCostsAPointOfItsPersonOnly()
    {
        const QString mira = m_simulator->issueAccessToken(u"mira-oakes"_s);
        const QString tobias = m_simulator->issueAccessToken(u"tobias-renn"_s);
        const auto remaining = [&](const QString &token) {
            return ask(token, {}).json()["data"_L1]["rateLimit"_L1]["remaining"_L1].toInt();
        };
        QCOMPARE(remaining(mira), 4'999);
        QCOMPARE(remaining(mira), 4'998);
        QCOMPARE(remaining(tobias), 4'999);
        m_simulator->advanceClock(RateLimits::kWindow);
        QCOMPARE(remaining(mira), 4'999);
    }

    void aChangedDeploymentIsAnsweredAtOnce()
    {
        m_simulator->replaceWorld({.repositories = 1, .deployments = 1});
        const QString token = m_simulator->issueAccessToken(u"user-1"_s);
        const QString id = m_simulator->world().repositories()[0].nodeID;
        const auto newest = [&] {
            return nodes(ask(token, {id}))[0]["deployments"_L1]["nodes"_L1][0];
        };
        newest();
        QJsonObject change{{u"repository"_s, u"user-1/repository-0001"_s}, {u"environment"_s, u"staging"_s},
            {u"state"_s, u"IN_PROGRESS"_s}, {u"logUrl"_s, u"https://log.example/1"_s}};
        const QString added = m_client->control(u"world"_s, {{u"deployment"_s, change}}).json()["id"_L1].toString();
        QCOMPARE(newest()["id"_L1], added);
        QCOMPARE(newest()["state"_L1], u"IN_PROGRESS"_s);
        change[u"id"_s] = added;
        change[u"state"_s] = u"SUCCESS"_s;
        change.remove(u"logUrl"_s);
        QCOMPARE(m_client->control(u"world"_s, {{u"deployment"_s, change}}).status, 200);
        QCOMPARE(newest()["state"_L1], u"ACTIVE"_s);
        QCOMPARE(newest()["latestStatus"_L1]["logUrl"_L1], u"https://log.example/1"_s);
    }

    void aWorldOfAThousandRepositoriesIsAnsweredQuickly()
    {
        QCOMPARE(
            m_client
                ->control(u"world"_s, {{u"replace"_s, QJsonObject{{u"repositories"_s, 1'000}, {u"deployments"_s, 20}}}})
                .status,
            200);
        const QString token = m_simulator->issueAccessToken(u"user-1"_s);
        QStringList ids;
        for (const Repository &repository : m_simulator->world().repositories())
            ids.append(repository.nodeID);
        QCOMPARE(ids.size(), 1'000);
        qint64 bytes = 0;
        for (int i = 0; i < 1'000; i += 20) {
            const Answered answered = ask(token, ids.mid(i, 20));
            QCOMPARE(nodes(answered).size(), 20);
            QCOMPARE(nodes(answered)[19]["deployments"_L1]["nodes"_L1].toArray().size(), 20);
            bytes += answered.body.size();
        }
        QVERIFY(bytes > 8'000'000);
        QVERIFY(!m_simulator->world().repositories()[0].encoded.isEmpty());
    }

    void thePausedStoryStandsStill()
    {
        SimulatorOptions options;
        options.speed = 1'000;
        Simulator simulator(options);
        QVERIFY(simulator.start());
        const auto count = [&] {
            std::size_t all = 0;
            for (const Repository &repository : simulator.world().repositories())
                all += repository.deployments.size();
            return all;
        };
        const std::size_t before = count();
        QVERIFY(waitUntil([&] { return count() > before + 3; }));
        Client client(simulator);
        QCOMPARE(client.control(u"story"_s, {{u"paused"_s, true}}).status, 200);
        const std::size_t paused = count();
        for (int i = 0; i < 30; ++i)
            client.get(u"/login/device"_s);
        QCOMPARE(count(), paused);
        QVERIFY(simulator.isStoryPaused());
    }

    void aPortThatIsTakenIsReported()
    {
        SimulatorOptions options = quiet();
        options.port = quint16(m_simulator->url().port());
        Simulator second(options);
        QVERIFY(!second.start());
    }
};

VELMORA_TEST(APITest)
#include "api_test.moc"
