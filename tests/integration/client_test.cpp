// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"
#include "github/github_client.h"
#include "github/github_client_error.h"
#include "http/network_session.h"
#include "simulator/simulator.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/test_main.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

simulator::SimulatorOptions quickOptions()
{
    simulator::SimulatorOptions options;
    options.playsStory = false;
    options.oauth.interval = 0;
    return options;
}

/// Which of the wanted headers were sent, in order.
QList<QByteArray> namesAmong(const simulator::Request &request, const QList<QByteArray> &wanted)
{
    QList<QByteArray> names;
    for (const auto &header : request.headers) {
        const QByteArray name = header.name.toLower();
        if (wanted.contains(name))
            names.append(name);
    }
    return names;
}

const QList<QByteArray> kOwnHeaders{"authorization", "accept", "content-type", "x-github-api-version"};

} // namespace

class ClientIntegrationTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<simulator::Simulator> m_github;
    SystemClock m_clock;
    GitHubClient m_client;
    QString m_login;
    QString m_token;

    void replaceWorld(int installations, int repositories, int deployments)
    {
        m_github->replaceWorld({1, installations, repositories, deployments});
        m_login = m_github->world().owners().at(m_github->world().identities().first()).login;
        m_token = m_github->issueAccessToken(m_login);
        m_github->log().clear();
    }

    [[nodiscard]] QString firstLogin() const
    {
        return m_github->world().owners().at(m_github->world().identities().first()).login;
    }

    [[nodiscard]] QList<simulator::Request> requests() const
    {
        QList<simulator::Request> result;
        for (const auto &entry : m_github->log().entries())
            result.append(entry.request);
        return result;
    }

    [[nodiscard]] bool neverTwoAtOnce() const
    {
        return std::ranges::all_of(m_github->log().entries(), [](const auto &entry) { return entry.unanswered == 0; });
    }

    QList<RepositoryRecord> repositories()
    {
        const auto installations = awaitValue(m_client.fetchInstallations(m_token));
        QList<RepositoryRecord> records;
        for (const auto &repository : awaitValue(m_client.fetchRepositories(installations.first().id, m_token))) {
            RepositoryRecord record;
            record.repository = repository;
            records.append(record);
        }
        m_github->log().clear();
        return records;
    }

    static QList<int> batchSizes(const QList<simulator::Request> &requests)
    {
        QList<int> sizes;
        for (const auto &request : requests) {
            const auto root = QJsonDocument::fromJson(request.body).object();
            const auto ids = root.value(QStringLiteral("variables")).toObject().value(QStringLiteral("ids")).toArray();
            sizes.append(static_cast<int>(ids.size()));
        }
        return sizes;
    }

private Q_SLOTS:
    void init()
    {
        m_github = std::make_unique<simulator::Simulator>(quickOptions());
        QVERIFY(m_github->start());
        m_client.clientID = simulator::demoClientID();
        m_client.session = std::make_shared<NetworkSession>();
        m_client.apiURL = m_github->url();
        m_client.loginURL = m_github->url().resolved(QUrl(QStringLiteral("/login")));
        m_client.clock = &m_clock;
    }

    void aDeviceFlowSurvivesWhatNetworksDo()
    {
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        simulator::MisbehaviourRule rule;
        rule.path = "/login/oauth/access_token";
        rule.times = 2;
        rule.status = 502;
        m_github->misbehaviour().add(rule);
        // More often than Qt repeats a request.
        rule.times = 5;
        rule.status.reset();
        rule.delivery.close = simulator::Delivery::Close::Before;
        m_github->misbehaviour().add(rule);
        const auto granted = start(m_client.waitForDeviceAuthorization(authorization));
        QVERIFY(waitUntil([&] { return requests().size() > 8 || granted->isDone; }));
        QVERIFY(!granted->isDone);
        QVERIFY(m_github->oauth().approve(authorization.userCode, firstLogin()));
        QVERIFY(waitUntil([&] { return granted->isDone; }));
        QVERIFY2(granted->value.has_value(), qPrintable(granted->description()));
    }

    void aDeviceFlowSurvivesAnswersThatComeTooLate()
    {
        NetworkSession::Limits limits;
        limits.silence = 300ms;
        FakeClock clock;
        GitHubClient client = m_client;
        client.session = std::make_shared<NetworkSession>(limits);
        client.clock = &clock;
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        QVERIFY(m_github->oauth().approve(authorization.userCode, firstLogin()));
        simulator::MisbehaviourRule rule;
        rule.path = "/login/oauth/access_token";
        rule.times = 2;
        rule.body = R"({"error":"authorization_pending"})";
        rule.status = 200;
        rule.delivery.delayMilliseconds = 30'000;
        m_github->misbehaviour().add(rule);
        const auto granted = start(client.waitForDeviceAuthorization(authorization));
        const auto isWaiting = [&] {
            return clock.sleeperCount() > 0 || granted->isDone;
        };
        while (!granted->isDone) {
            QVERIFY(waitUntil(isWaiting));
            clock.advanceToNextWake();
        }
        QVERIFY2(granted->value.has_value(), qPrintable(granted->description()));
        QCOMPARE(clock.requestedSleeps.first(3), (QList<std::chrono::milliseconds>{0s, 2s, 4s}));
    }

    void cleanup()
    {
        m_client.session.reset();
        m_github.reset();
        drainEvents();
    }

    void theDeviceFlowSendsItsFormsAndEndsWithTheIdentity()
    {
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        const auto login = m_github->world().owners().at(m_github->world().identities().first()).login;
        QVERIFY(m_github->oauth().approve(authorization.userCode, login));
        const auto credential = awaitValue(m_client.waitForDeviceAuthorization(authorization));
        const auto user = awaitValue(m_client.fetchUser(credential.accessToken));
        QCOMPARE(user.login, login);
        QVERIFY(credential.refreshToken);

        const auto sent = requests();
        QCOMPARE(sent.first().method, QByteArray("POST"));
        QCOMPARE(sent.first().path, QByteArray("/login/device/code"));
        QCOMPARE(sent.first().body, "client_id=" + m_client.clientID.toLatin1());
        QCOMPARE(namesAmong(sent.first(), kOwnHeaders), QList<QByteArray>({"accept", "content-type"}));
        QCOMPARE(sent.at(1).path, QByteArray("/login/oauth/access_token"));
        QCOMPARE(sent.at(1).body,
            "client_id=" + m_client.clientID.toLatin1() + "&device_code=" + authorization.deviceCode.toLatin1()
                + "&grant_type=urn:ietf:params:oauth:grant-type:device_code");
        QCOMPARE(sent.last().method, QByteArray("GET"));
        QCOMPARE(sent.last().path, QByteArray("/user"));
        QCOMPARE(namesAmong(sent.last(), kOwnHeaders),
            QList<QByteArray>({"authorization", "accept", "x-github-api-version"}));
    }

    void aDeniedCodeEndsTheWait()
    {
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        QVERIFY(m_github->oauth().deny(authorization.userCode));
        const auto outcome = await(m_client.waitForDeviceAuthorization(authorization));
        QVERIFY(outcome.failedWith(GitHubClientError::authorizationDenied()));
    }

    void anExpiredCodeEndsTheWait()
    {
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        QVERIFY(m_github->oauth().expire(authorization.userCode));
        const auto outcome = await(m_client.waitForDeviceAuthorization(authorization));
        QVERIFY(outcome.failedWith(GitHubClientError::authorizationExpired()));
    }

    void aRefreshTokenWorksOnceAndEndsTheOldAccessToken()
    {
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        m_github->oauth().approve(
            authorization.userCode, m_github->world().owners().at(m_github->world().identities().first()).login);
        const auto first = awaitValue(m_client.waitForDeviceAuthorization(authorization));
        const auto second = awaitValue(m_client.refresh(first));
        QVERIFY(second.accessToken != first.accessToken);
        QVERIFY(await(m_client.fetchUser(first.accessToken)).failedWith(GitHubClientError::requestFailed(401)));
        QVERIFY(!await(m_client.fetchUser(second.accessToken)).failure);
        QVERIFY(await(m_client.refresh(first)).failedWith(GitHubClientError::missingAccessToken()));
    }

    void listsAreFetchedPageByPageOneAfterTheOther_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("pages");
        QTest::newRow("none") << 0 << 1;
        QTest::newRow("a full page") << 100 << 2;
        QTest::newRow("two and a half") << 250 << 3;
    }

    void listsAreFetchedPageByPageOneAfterTheOther()
    {
        QFETCH(int, count);
        QFETCH(int, pages);
        replaceWorld(1, count, 0);
        QCOMPARE(repositories().size(), count);
        const auto installations = awaitValue(m_client.fetchInstallations(m_token));
        m_github->log().clear();
        awaitValue(m_client.fetchRepositories(installations.first().id, m_token));
        const auto sent = requests();
        QCOMPARE(sent.size(), pages);
        for (int page = 1; page <= pages; ++page)
            QCOMPARE(sent.at(page - 1).query, "per_page=100&page=" + QByteArray::number(page));
        QVERIFY(neverTwoAtOnce());
    }

    void deploymentsAreFetchedInBatchesOfTwentyOneAfterTheOther()
    {
        replaceWorld(1, 41, 3);
        const auto records = repositories();
        const auto result = awaitValue(m_client.fetchDeployments(records, m_token));
        QCOMPARE(result.deployments.size(), 41 * 3);
        QCOMPARE(result.rateLimit.cost, 3);
        const auto sent = requests();
        QCOMPARE(batchSizes(sent), QList<int>({20, 20, 1}));
        QCOMPARE(sent.first().path, QByteArray("/graphql"));
        QCOMPARE(namesAmong(sent.first(), kOwnHeaders), QList<QByteArray>({"authorization", "content-type", "accept"}));
        QCOMPARE(sent.first().token(), m_token);
        QVERIFY(neverTwoAtOnce());
    }

    void aRepositoryThatIsGoneIsSkipped()
    {
        replaceWorld(1, 2, 1);
        auto records = repositories();
        records[0].repository.nodeID = QStringLiteral("R_gone");
        const auto result = awaitValue(m_client.fetchDeployments(records, m_token));
        QCOMPARE(result.deployments.size(), 1);
    }

    void anExhaustedBudgetIsARateLimit()
    {
        replaceWorld(1, 1, 1);
        const auto records = repositories();
        m_github->limits().set(m_login, 0, m_github->now() + 600'000);
        const auto outcome = await(m_client.fetchDeployments(records, m_token));
        QVERIFY(outcome.failure);
        QVERIFY(rateLimitOf(outcome.failure).has_value());
    }

    void aRevokedTokenIsNoRateLimit()
    {
        replaceWorld(1, 1, 1);
        const auto records = repositories();
        m_github->oauth().revoke(m_login);
        const auto outcome = await(m_client.fetchDeployments(records, m_token));
        QVERIFY(outcome.failedWith(GitHubClientError::requestFailed(401)));
        QVERIFY(!rateLimitOf(outcome.failure));
    }

    void aStopEndsTheExchangeInEveryPhase_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("device code") << QByteArray("/login/device/code");
        QTest::newRow("token") << QByteArray("/login/oauth/access_token");
        QTest::newRow("user") << QByteArray("/user");
        QTest::newRow("installations") << QByteArray("/user/installations");
        QTest::newRow("deployments") << QByteArray("/graphql");
    }

    void aStopEndsTheExchangeInEveryPhase()
    {
        QFETCH(QByteArray, path);
        replaceWorld(1, 1, 1);
        const auto records = repositories();
        const auto authorization = awaitValue(m_client.beginDeviceAuthorization());
        m_github->log().clear();
        simulator::MisbehaviourRule rule;
        rule.path = path;
        rule.delivery.hang = true;
        m_github->misbehaviour().add(rule);

        std::stop_source stop;
        const auto everything = start(runAll(m_client, authorization, records, m_token, path, stop.get_token()));
        QVERIFY(waitUntil([&] { return !m_github->log().entries().empty(); }));
        QVERIFY(!everything->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return everything->isDone; }));
        QVERIFY(everything->failedWithType<CancellationError>());
        QVERIFY(waitUntil([&] { return !m_github->log().entries().back().isOpen; }));
    }

    void aBrokenAnswerIsAFailureOfTheTransport()
    {
        replaceWorld(1, 1, 1);
        const auto records = repositories();
        simulator::MisbehaviourRule rule;
        rule.path = "/graphql";
        rule.delivery.truncateAfter = 20;
        m_github->misbehaviour().add(rule);
        const auto outcome = await(m_client.fetchDeployments(records, m_token));
        QVERIFY(outcome.failedWithType<TransportError>());
    }

    void anEndlessAnswerIsRefused()
    {
        replaceWorld(1, 1, 1);
        const auto records = repositories();
        simulator::MisbehaviourRule rule;
        rule.path = "/graphql";
        rule.delivery.endlessBody = true;
        m_github->misbehaviour().add(rule);
        const auto outcome = await(m_client.fetchDeployments(records, m_token));
        QVERIFY(outcome.failedWithType<TransportError>());
    }

private:
    static QCoro::Task<> runAll(GitHubClient client, DeviceAuthorization authorization, QList<RepositoryRecord> records,
        QString token, QByteArray path, std::stop_token stop)
    {
        if (path == "/login/device/code")
            co_await client.beginDeviceAuthorization(stop);
        else if (path == "/login/oauth/access_token")
            co_await client.waitForDeviceAuthorization(authorization, stop);
        else if (path == "/user")
            co_await client.fetchUser(token, stop);
        else if (path == "/user/installations")
            co_await client.fetchInstallations(token, stop);
        else
            co_await client.fetchDeployments(records, token, stop);
    }
};

VELMORA_TEST(ClientIntegrationTest)
#include "client_test.moc"
