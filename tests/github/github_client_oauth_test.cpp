// SPDX-License-Identifier: MIT
#include "github/github_client_error.h"
#include "github/wire/responses.h"

#include "client_fixture.h"
#include "support/test_main.h"

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

std::exception_ptr failure(TransportError::Kind kind)
{
    return std::make_exception_ptr(TransportError(kind, text("no answer")));
}

/// Moves the clock from sleep to sleep until the task ends.
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
        QVERIFY(!request.isUnrepeatable);
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
        fixture.session->enqueue(404, "<html>");
        QVERIFY(await(fixture.client.beginDeviceAuthorization()).failedWith(GitHubClientError::requestFailed(404)));
        fixture.session->enqueue(400, R"({"error":"unauthorized_client"})");
        QVERIFY(await(fixture.client.beginDeviceAuthorization()).failedWith(GitHubClientError::requestFailed(400)));
        fixture.session->enqueue(HTTPResponse());
        QVERIFY(await(fixture.client.beginDeviceAuthorization()).failedWith(GitHubClientError::invalidResponse()));
        fixture.session->enqueue(200, "{}");
        QCOMPARE(await(fixture.client.beginDeviceAuthorization()).description(), text("device_code is missing"));
    }

    void anAppThatCannotBeConnectedWithIsToldFromOtherRefusals_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("isUnknown");
        QTest::newRow("unknown") << 404 << QByteArray(R"({"error":"Not Found"})") << true;
        QTest::newRow("disabled") << 400 << QByteArray(R"({"error":"device_flow_disabled"})") << false;
        QTest::newRow("disabled, with a success") << 200 << QByteArray(R"({"error":"device_flow_disabled"})") << false;
        QTest::newRow("wrong credentials") << 200 << QByteArray(R"({"error":"incorrect_client_credentials"})") << true;
    }
    void anAppThatCannotBeConnectedWithIsToldFromOtherRefusals()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, isUnknown);
        ClientFixture fixture;
        fixture.session->enqueue(status, body);
        const auto outcome = await(fixture.client.beginDeviceAuthorization());
        QVERIFY(outcome.failedWith(
            isUnknown ? GitHubClientError::unknownClient() : GitHubClientError::deviceFlowDisabled()));
        QVERIFY(outcome.description().contains(isUnknown ? text("GITHUB_CLIENT_ID") : text("“Enable Device Flow”")));
        QCOMPARE(fixture.session->requests.size(), 1);
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
        row("expired, as documented", R"({"error":"token_expired"})", GitHubClientError::authorizationExpired());
        row("disabled", R"({"error":"device_flow_disabled"})", GitHubClientError::deviceFlowDisabled());
        row("unknown App", R"({"error":"incorrect_client_credentials"})", GitHubClientError::unknownClient());
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

    void aRefusedPollFailsWithItsStatus()
    {
        for (const int status : {302, 400, 401, 403, 404, 429, 499}) {
            ClientFixture fixture;
            fixture.session->enqueue(status, "<html>");
            const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
            runToEnd(fixture.clock, outcome);
            QVERIFY(outcome->failedWith(GitHubClientError::requestFailed(status)));
            QCOMPARE(fixture.session->requests.size(), 1);
        }
    }

    void anAnswerThatCannotBeReadEndsTheFlow()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, "<html>");
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->failedWithType<DecodingError>());
        fixture.session->enqueue(HTTPResponse());
        const auto other = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, other);
        QVERIFY(other->failedWith(GitHubClientError::invalidResponse()));
        fixture.session->enqueueFailure(failure(TransportError::Kind::BodyTooLarge));
        const auto endless = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, endless);
        QVERIFY(endless->failedWithType<TransportError>());
    }

    void aPollWithoutAnAnswerIsFollowedByTheNext()
    {
        ClientFixture fixture;
        fixture.session->enqueue(502, "<html>");
        fixture.session->enqueueFailure(failure(TransportError::Kind::Network));
        fixture.session->enqueue(200, kSlowDown);
        fixture.session->enqueue(503, "");
        fixture.session->enqueueFailure(failure(TransportError::Kind::Network));
        fixture.session->enqueue(200, kToken);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->value.has_value());
        QCOMPARE(fixture.clock.requestedSleeps, (Milliseconds{5s, 5s, 5s, 10s, 10s, 10s}));
    }

    void timeOutsAreFollowedByPollsInAGrowingDistance()
    {
        ClientFixture fixture;
        for (int i = 0; i < 6; ++i)
            fixture.session->enqueueFailure(failure(TransportError::Kind::TimedOut));
        fixture.session->enqueueFailure(failure(TransportError::Kind::Network));
        fixture.session->enqueue(200, kPending);
        fixture.session->enqueueFailure(failure(TransportError::Kind::TimedOut));
        fixture.session->enqueue(200, kToken);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->value.has_value());
        QCOMPARE(fixture.clock.requestedSleeps, (Milliseconds{5s, 10s, 20s, 40s, 60s, 60s, 60s, 60s, 5s, 10s}));
    }

    void aTimeOutNeverShortensTheInterval()
    {
        ClientFixture fixture;
        fixture.session->enqueueFailure(failure(TransportError::Kind::TimedOut));
        fixture.session->enqueue(200, kToken);
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization(900, 100)));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->value.has_value());
        QCOMPARE(fixture.clock.requestedSleeps, (Milliseconds{100s, 100s}));
    }

    void withoutANetworkTheCodeExpires_data()
    {
        QTest::addColumn<TransportError::Kind>("kind");
        QTest::newRow("lost") << TransportError::Kind::Network;
        QTest::newRow("timed out") << TransportError::Kind::TimedOut;
    }
    void withoutANetworkTheCodeExpires()
    {
        QFETCH(TransportError::Kind, kind);
        ClientFixture fixture;
        fixture.session->handler = [kind](const HTTPRequest &) -> HTTPResponse {
            std::rethrow_exception(failure(kind));
        };
        const Instant begin = fixture.clock.now();
        const auto outcome = start(fixture.client.waitForDeviceAuthorization(authorization()));
        runToEnd(fixture.clock, outcome);
        QVERIFY(outcome->failedWith(GitHubClientError::authorizationExpired()));
        QVERIFY(fixture.clock.now() - begin >= 900s);
        QVERIFY(fixture.clock.now() - begin <= 960s);
    }

    void anIncorrectCodeIsTriedTwiceMore()
    {
        constexpr const char *kIncorrect = R"({"error":"incorrect_device_code"})";
        ClientFixture granted;
        for (const char *answer : {kPending, kIncorrect, kIncorrect, kToken})
            granted.session->enqueue(200, answer);
        const auto late = start(granted.client.waitForDeviceAuthorization(authorization()));
        runToEnd(granted.clock, late);
        QVERIFY(late->value.has_value());

        ClientFixture refused;
        for (const char *answer : {kIncorrect, kPending, kIncorrect, kIncorrect})
            refused.session->enqueue(200, answer);
        const auto never = start(refused.client.waitForDeviceAuthorization(authorization()));
        runToEnd(refused.clock, never);
        QVERIFY(never->failedWith(GitHubClientError::invalidResponse()));
        QCOMPARE(refused.session->requests.size(), 4);
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

    void aRequestForATokenIsUnrepeatable()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, kToken);
        fixture.session->enqueue(200, kToken);
        GitHubCredential old;
        old.refreshToken = text("r");
        awaitValue(fixture.client.refresh(old));
        runToEnd(fixture.clock, start(fixture.client.waitForDeviceAuthorization(authorization())));
        QCOMPARE(fixture.session->requests.size(), 2);
        QVERIFY(fixture.session->requests.first().isUnrepeatable);
        QVERIFY(fixture.session->requests.last().isUnrepeatable);
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

VELMORA_TEST(GitHubClientOAuthTest)
#include "github_client_oauth_test.moc"
