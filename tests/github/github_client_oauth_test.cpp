// SPDX-License-Identifier: MIT
#include "github/github_client_error.h"

#include "client_fixture.h"

#include <QTest>

#include <limits>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

using Milliseconds = QList<std::chrono::milliseconds>;

constexpr const char *kPending = R"({"error":"authorization_pending"})";
constexpr const char *kSlowDown = R"({"error":"slow_down"})";
constexpr const char *kToken = R"({"access_token":"ghu","expires_in":28800,"refresh_token":"ghr",)"
                               R"("refresh_token_expires_in":15811200})";

DeviceAuthorization authorization(qint64 expiresIn = 900, qint64 interval = 5)
{
    return {
        text("device"), text("WDJB-MJHT"), WebAddress(text("https://github.com/login/device")), expiresIn, interval};
}

/// Moves the time from sleep to sleep until the task ends.
template <typename T>
void runToEnd(FakeClock &clock, const std::shared_ptr<Outcome<T>> &outcome)
{
    while (!outcome->isDone && clock.advanceToNextWake()) { }
}

} // namespace

class GitHubClientOAuthTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDeviceFlowIsBegunWithTheClientIdAndNothingElse()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200,
            R"({"device_code":"d","user_code":"U","verification_uri":"https://g/d",)"
            R"("expires_in":900,"interval":5})");
        const auto begun = awaitValue(fixture.client.beginDeviceAuthorization());
        QCOMPARE(begun.userCode, text("U"));
        const auto &request = fixture.session->requests.first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.url.toEncoded(), QByteArray("https://github.com/login/device/code"));
        QCOMPARE(*request.body, QByteArray("client_id=Iv1.client"));
        const HTTPHeaders headers{
            {"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}};
        QCOMPARE(request.headers, headers);
    }

    void withoutAClientIdNothingIsSent()
    {
        ClientFixture fixture;
        fixture.client.clientID.clear();
        const auto outcome = await(fixture.client.beginDeviceAuthorization());
        QVERIFY(outcome.failedWith(GitHubClientError::invalidConfiguration()));
        QVERIFY(fixture.session->requests.isEmpty());
    }

    void aRefusedBeginningFailsWithItsStatus()
    {
        ClientFixture fixture;
        fixture.session->enqueue(404, R"({"error":"Not Found"})");
        QVERIFY(await(fixture.client.beginDeviceAuthorization()).failedWith(GitHubClientError::requestFailed(404)));
        fixture.session->enqueue(HTTPResponse());
        QVERIFY(await(fixture.client.beginDeviceAuthorization()).failedWith(GitHubClientError::invalidResponse()));
        fixture.session->enqueue(200, "{}");
        QCOMPARE(await(fixture.client.beginDeviceAuthorization()).description(), text("device_code is missing"));
    }

    void theFirstPollIsOneIntervalAfterTheStart()
    {
        ClientFixture fixture;
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        QVERIFY(fixture.session->requests.isEmpty());
        QCOMPARE(fixture.clock.requestedSleeps, Milliseconds{5s});
        fixture.clock.advance(5s - 1us);
        QVERIFY(fixture.session->requests.isEmpty());
        fixture.session->enqueue(200, kToken);
        fixture.clock.advance(1us);
        QVERIFY(outcome->isDone);
        const auto &request = fixture.session->requests.first();
        QCOMPARE(request.url.toEncoded(), QByteArray("https://github.com/login/oauth/access_token"));
        QCOMPARE(*request.body,
            QByteArray("client_id=Iv1.client&device_code=device"
                       "&grant_type=urn:ietf:params:oauth:grant-type:device_code"));
    }

    void theCredentialCountsFromTheMomentOfReceipt()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, kToken);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QCOMPARE(outcome->value->accessToken, text("ghu"));
        QCOMPARE(outcome->value->refreshToken, std::optional(text("ghr")));
        QCOMPARE(outcome->value->expiresAt, std::optional<Instant>(fixture.clock.now() + 28800s));
        QCOMPARE(outcome->value->refreshTokenExpiresAt, std::optional<Instant>(fixture.clock.now() + 15811200s));
    }

    void slowDownLastsForAllLaterPolls()
    {
        ClientFixture fixture;
        for (const char *answer : {kPending, kSlowDown, kSlowDown, kPending, kToken})
            fixture.session->enqueue(200, answer);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->value.has_value());
        QCOMPARE(fixture.clock.requestedSleeps, (Milliseconds{5s, 5s, 10s, 15s, 15s}));
    }

    void theCodeExpiresAfterItsLifetimeThoughGitHubSaysPending()
    {
        ClientFixture fixture;
        fixture.session->handler = [](const HTTPRequest &) {
            return FakeHTTPSession::response(200, kPending);
        };
        const Instant begin = fixture.clock.now();
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->failedWith(GitHubClientError::authorizationExpired()));
        QVERIFY(fixture.clock.now() - begin == 900s);
        QCOMPARE(fixture.session->requests.size(), 180);
    }

    void aLifetimeOfNothingExpiresBeforeTheFirstPoll_data()
    {
        QTest::addColumn<qint64>("expiresIn");
        QTest::newRow("zero") << qint64(0);
        QTest::newRow("negative") << std::numeric_limits<qint64>::min();
    }
    void aLifetimeOfNothingExpiresBeforeTheFirstPoll()
    {
        QFETCH(qint64, expiresIn);
        ClientFixture fixture;
        const auto outcome = await(fixture.client.waitForDeviceAuthorization(authorization(expiresIn)));
        QVERIFY(outcome.failedWith(GitHubClientError::authorizationExpired()));
        QVERIFY(fixture.session->requests.isEmpty());
        QVERIFY(fixture.clock.requestedSleeps.isEmpty());
    }

    void hugeNumbersDoNotOverflow()
    {
        constexpr auto most = std::numeric_limits<qint64>::max();
        ClientFixture fixture;
        std::stop_source stop;
        const auto outcome
            = start(fixture.client.waitForDeviceAuthorization(authorization(most, most), stop.get_token()));
        for (int i = 0; i < 3; ++i)
            QVERIFY(fixture.clock.advanceToNextWake());
        QVERIFY(!outcome->isDone);
        QVERIFY(fixture.session->requests.isEmpty());
        QCOMPARE(fixture.clock.requestedSleeps, (Milliseconds{24h, 24h, 24h, 24h}));
        stop.request_stop();
        QVERIFY(outcome->failedWithType<CancellationError>());
    }

    void aNegativeIntervalIsNone()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, kToken);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization(900, -7)));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->value.has_value());
        QCOMPARE(fixture.clock.requestedSleeps, Milliseconds{0s});
    }

    void aHugeLifetimeOfATokenEndsWithTheLastYear()
    {
        GitHubOAuthResponse response;
        response.accessToken = text("a");
        response.expiresIn = std::numeric_limits<qint64>::max();
        response.refreshTokenExpiresIn = std::numeric_limits<qint64>::min();
        const auto credential = GitHubCredential::fromResponse(response, ClientFixture().clock.now());
        QCOMPARE(toISO8601(*credential.expiresAt), text("9999-12-31T23:59:59Z"));
        QCOMPARE(*credential.refreshTokenExpiresAt, distantPast());
    }

    void anAnswerWithoutATokenEndsTheFlow_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("description");
        const auto row = [](const char *name, const char *body, const GitHubClientError &error) {
            QTest::newRow(name) << QByteArray(body) << error.description();
        };
        row("denied", R"({"error":"access_denied","error_description":"x"})", GitHubClientError::authorizationDenied());
        row("expired", R"({"error":"expired_token"})", GitHubClientError::authorizationExpired());
        row("unknown", R"({"error":"unsupported_grant_type"})", GitHubClientError::invalidResponse());
        row("neither", "{}", GitHubClientError::invalidResponse());
    }
    void anAnswerWithoutATokenEndsTheFlow()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, description);
        ClientFixture fixture;
        fixture.session->enqueue(200, body);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->failedWithType<GitHubClientError>());
        QCOMPARE(outcome->description(), description);
        QCOMPARE(fixture.session->requests.size(), 1);
    }

    void anUnsuccessfulPollFailsWithItsStatus()
    {
        ClientFixture fixture;
        fixture.session->enqueue(502, "<html>");
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->failedWith(GitHubClientError::requestFailed(502)));
    }

    void aStopEndsTheSleepAndThePoll()
    {
        ClientFixture fixture;
        std::stop_source sleeping;
        const auto first = start(fixture.client.waitForDeviceAuthorization(authorization(), sleeping.get_token()));
        sleeping.request_stop();
        QVERIFY(first->failedWithType<CancellationError>());
        QVERIFY(fixture.session->requests.isEmpty());

        std::stop_source polling;
        const auto second = start(fixture.client.waitForDeviceAuthorization(authorization(), polling.get_token()));
        fixture.clock.advance(5s);
        QCOMPARE(fixture.session->openRequests, 1);
        polling.request_stop();
        QVERIFY(second->failedWithType<CancellationError>());
        QCOMPARE(fixture.session->openRequests, 0);
    }

    void aRefreshTradesTheTokenForAWholeNewCredential()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, R"({"access_token":"new"})");
        GitHubCredential old;
        old.accessToken = text("old");
        old.expiresAt = fixture.clock.now();
        old.refreshToken = text("r+1");
        old.refreshTokenExpiresAt = fixture.clock.now() + 1h;
        const auto credential = awaitValue(fixture.client.refresh(old));
        QCOMPARE(credential, (GitHubCredential{text("new"), std::nullopt, std::nullopt, std::nullopt}));
        QCOMPARE(*fixture.session->requests.first().body,
            QByteArray("client_id=Iv1.client&grant_type=refresh_token&refresh_token=r%2B1"));
    }

    void aCredentialWithoutARefreshTokenIsNotSent()
    {
        ClientFixture fixture;
        QVERIFY(await(fixture.client.refresh(GitHubCredential())).failedWith(GitHubClientError::missingRefreshToken()));
        QVERIFY(fixture.session->requests.isEmpty());
    }

    void aRefusedRefreshLacksTheAccessToken()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, R"({"error":"bad_refresh_token"})");
        GitHubCredential credential;
        credential.refreshToken = text("r");
        QVERIFY(await(fixture.client.refresh(credential)).failedWith(GitHubClientError::missingAccessToken()));
    }

    void anOAuthErrorIsAnAnswerOfTheTokenEndpoint()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, kPending);
        const QMap<QString, QString> values{{text("a"), text("b")}};
        QCOMPARE(*awaitValue(fixture.client.requestToken(values)).error, text("authorization_pending"));
        fixture.session->enqueue(HTTPResponse());
        QVERIFY(await(fixture.client.requestToken(values)).failedWith(GitHubClientError::invalidResponse()));
    }
};

QTEST_GUILESS_MAIN(GitHubClientOAuthTest)
#include "github_client_oauth_test.moc"
