// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"
#include "github/github_client_error.h"
#include "github/wire/responses.h"

#include "client_fixture.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class GitHubClientTest : public QObject
{
    Q_OBJECT

    /// Whether the operation, whose client is destroyed during its request, ends with the status of the response.
    template <typename Start>
    static bool outlivesItsClient(const Start &startOperation)
    {
        ClientFixture fixture;
        auto client = std::make_unique<GitHubClient>(fixture.client);
        const auto outcome = start(startOperation(*client));
        client.reset();
        fixture.clock.advance(std::chrono::seconds(1));
        return fixture.session->answerNext(FakeHTTPSession::response(404, {}))
            && outcome->failedWith(GitHubClientError::requestFailed(404));
    }

private Q_SLOTS:
    void theDescriptionsAreWrittenForThePerson_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const GitHubClientError &error, const char *expected) {
            QTest::newRow(name) << error.description() << QString::fromUtf8(expected);
        };
        row("request failed", GitHubClientError::requestFailed(401), "GitHub returned HTTP 401.");
        row("configuration", GitHubClientError::invalidConfiguration(),
            "Velmora\xe2\x80\x99s GitHub App client ID is missing.");
        row("response", GitHubClientError::invalidResponse(), "GitHub returned an invalid response.");
        row("denied", GitHubClientError::authorizationDenied(), "GitHub authorization was cancelled.");
        row("expired", GitHubClientError::authorizationExpired(), "The GitHub authorization code expired.");
        row("no token", GitHubClientError::missingAccessToken(), "GitHub did not return an access token.");
        row("no refresh token", GitHubClientError::missingRefreshToken(),
            "This GitHub account needs to be connected again.");
        row("no device flow", GitHubClientError::deviceFlowDisabled(),
            "The GitHub App does not allow the device flow. Switch “Enable Device Flow” on in the settings of the App "
            "on GitHub, under Settings → Developer settings → GitHub Apps.");
        row("unknown App", GitHubClientError::unknownClient(),
            "GitHub knows no App with this client ID. Set GITHUB_CLIENT_ID, in velmora.properties or in the "
            "environment, to the client ID on the App’s page on GitHub; for GitHub Enterprise, set "
            "VELMORA_GITHUB_HOST as well.");
    }
    void theDescriptionsAreWrittenForThePerson()
    {
        QFETCH(QString, description);
        QFETCH(QString, expected);
        QCOMPARE(description, expected);
    }

    void aFormIsPostedWithItsFieldsInTheOrderOfTheirNames()
    {
        const QUrl url(QStringLiteral("https://github.com/login/oauth/access_token"));
        const auto request = GitHubClient::formRequest(url,
            {{text("refresh_token"), text("r")}, {text("grant_type"), text("refresh_token")},
                {text("client_id"), text("c")}});
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.url, url);
        QCOMPARE(*request.body, QByteArray("client_id=c&grant_type=refresh_token&refresh_token=r"));
        const HTTPHeaders headers{
            {"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}};
        QCOMPARE(request.headers, headers);
    }

    void valuesOfAFormSurvive_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("grant type") << text("urn:ietf:params:oauth:grant-type:device_code")
                                    << QByteArray("urn:ietf:params:oauth:grant-type:device_code");
        QTest::newRow("delimiters") << text("a&b=c+d#e%f;g") << QByteArray("a%26b%3Dc%2Bd%23e%25f%3Bg");
        QTest::newRow("allowed") << text("!$'()*,:@/?-._~") << QByteArray("!$'()*,:@/?-._~");
        QTest::newRow("blank and letters") << text("a \xc3\xa4") << QByteArray("a%20%C3%A4");
        QTest::newRow("empty") << QString() << QByteArray();
    }
    void valuesOfAFormSurvive()
    {
        QFETCH(QString, value);
        QFETCH(QByteArray, encoded);
        const auto request = GitHubClient::formRequest(QUrl(), {{text("k"), value}});
        QCOMPARE(*request.body, "k=" + encoded);
    }

    void aGetCarriesTheTokenTheFormatAndTheVersionInThisOrder()
    {
        const ClientFixture fixture;
        const auto request = fixture.client.getRequest(
            text("user/installations"), {{text("per_page"), text("100")}, {text("page"), text("1")}}, text("tok"));
        QCOMPARE(request.method, QByteArray("GET"));
        QVERIFY(!request.body.has_value());
        QCOMPARE(request.url.toEncoded(), QByteArray("https://api.github.com/user/installations?per_page=100&page=1"));
        const HTTPHeaders headers{{"Authorization", "Bearer tok"}, {"Accept", "application/vnd.github+json"},
            {"X-GitHub-Api-Version", "2026-03-10"}};
        QCOMPARE(request.headers, headers);
    }

    void thePathOfAGetIsAppendedToTheBase_data()
    {
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("host") << text("https://h") << text("a/b") << QByteArray("https://h/a/b?");
        QTest::newRow("slash") << text("https://h/") << text("a/b/") << QByteArray("https://h/a/b/?");
        QTest::newRow("path") << text("https://h:8443/api/v3") << text("a") << QByteArray("https://h:8443/api/v3/a?");
        QTest::newRow("escaped") << text("https://h/x%2Fy") << text("a b?#")
                                 << QByteArray("https://h/x%2Fy/a%20b%3F%23?");
    }
    void thePathOfAGetIsAppendedToTheBase()
    {
        QFETCH(QString, base);
        QFETCH(QString, path);
        QFETCH(QByteArray, expected);
        ClientFixture fixture;
        fixture.client.apiURL = QUrl(base);
        QCOMPARE(fixture.client.getRequest(path, {}, text("t")).url.toEncoded(), expected);
    }

    void queryValuesOfAGetSurvive()
    {
        const ClientFixture fixture;
        const auto request = fixture.client.getRequest(text("a"), {{text("q"), text("x&y=z+%41 w")}}, text("t"));
        QCOMPARE(request.url.toEncoded(), QByteArray("https://api.github.com/a?q=x%26y%3Dz%2B%2541%20w"));
    }

    void aBaseThatIsNoAddressIsAnInvalidResponse()
    {
        ClientFixture fixture;
        fixture.client.apiURL = QUrl(text("http://[bad"));
        const auto outcome = await(fixture.client.fetchUser(text("t")));
        QVERIFY(outcome.failedWith(GitHubClientError::invalidResponse()));
        QVERIFY(fixture.session->requests.isEmpty());
    }

    void anUnsuccessfulStatusFailsWhateverItsBody_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : {199, 300, 304, 400, 401, 403, 404, 410, 422, 429, 500, 502})
            QTest::addRow("%d", status) << status;
    }
    void anUnsuccessfulStatusFailsWhateverItsBody()
    {
        QFETCH(int, status);
        ClientFixture fixture;
        fixture.session->enqueue(status, R"({"id":1,"login":"o","message":"secret"})");
        const auto outcome = await(fixture.client.fetchUser(text("t")));
        QVERIFY(outcome.failedWith(GitHubClientError::requestFailed(status)));
        QCOMPARE(outcome.description(), QStringLiteral("GitHub returned HTTP %1.").arg(status));
    }

    void everySuccessfulStatusIsDecoded_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : {200, 204, 299})
            QTest::addRow("%d", status) << status;
    }
    void everySuccessfulStatusIsDecoded()
    {
        QFETCH(int, status);
        ClientFixture fixture;
        fixture.session->enqueue(status, R"({"id":1,"login":"octo"})");
        QCOMPARE(awaitValue(fixture.client.fetchUser(text("t"))).login, QStringLiteral("octo"));
        fixture.session->enqueue(status, QByteArray());
        QVERIFY(await(fixture.client.fetchUser(text("t"))).failedWithType<DecodingError>());
    }

    void anAnswerThatIsNotHTTPIsAnInvalidResponse()
    {
        ClientFixture fixture;
        fixture.session->enqueue(HTTPResponse{std::nullopt, {}, R"({"id":1,"login":"o"})"});
        QVERIFY(await(fixture.client.fetchUser(text("t"))).failedWith(GitHubClientError::invalidResponse()));
    }

    void aFailureOfTheTransportPassesUnchanged()
    {
        ClientFixture fixture;
        fixture.session->enqueueFailure(
            std::make_exception_ptr(TransportError(TransportError::Kind::TimedOut, text("late"))));
        const auto outcome = await(fixture.client.fetchUser(text("t")));
        QVERIFY(outcome.failedWithType<TransportError>());
        QCOMPARE(outcome.description(), text("late"));
    }

    void aRateLimitTravelsWithTheFailure()
    {
        ClientFixture fixture;
        fixture.session->enqueue(403, {}, {{"Retry-After", "30"}});
        const auto outcome = await(fixture.client.fetchUser(text("t")));
        const auto notice = rateLimitOf(outcome.failure);
        QVERIFY(notice.has_value());
        QCOMPARE(notice->resumeAt, std::optional<Instant>(fixture.clock.now() + std::chrono::seconds(30)));
    }

    void anUnauthorizedRequestIsNeverTakenForARateLimit()
    {
        ClientFixture fixture;
        fixture.session->enqueue(401, {}, {{"x-ratelimit-remaining", "0"}, {"retry-after", "30"}});
        QVERIFY(!rateLimitOf(await(fixture.client.fetchUser(text("t"))).failure).has_value());
    }

    void anOperationOutlivesItsClient()
    {
        auto fixture = std::make_unique<ClientFixture>();
        const auto session = fixture->session;
        const auto outcome = start(GitHubClient(fixture->client).fetchUser(text("t")));
        QVERIFY(!outcome->isDone);
        fixture->client = GitHubClient();
        QVERIFY(session->answerNext(FakeHTTPSession::response(200, R"({"id":1,"login":"octo"})")));
        QVERIFY(outcome->isDone);
        QCOMPARE(outcome->value->login, QStringLiteral("octo"));
    }

    void noOperationUsesItsClientAfterTheStart()
    {
        using Client = GitHubClient;
        GitHubCredential credential;
        credential.refreshToken = text("r");
        DeviceAuthorization authorization;
        authorization.expiresIn = 900;
        RepositoryRecord repository;
        QVERIFY(outlivesItsClient([](const Client &client) { return client.beginDeviceAuthorization(); }));
        QVERIFY(
            outlivesItsClient([&](const Client &client) { return client.waitForDeviceAuthorization(authorization); }));
        QVERIFY(outlivesItsClient([&](const Client &client) { return client.refresh(credential); }));
        QVERIFY(outlivesItsClient([](const Client &client) { return client.requestToken({}); }));
        QVERIFY(outlivesItsClient([](const Client &client) { return client.fetchUser(text("t")); }));
        QVERIFY(outlivesItsClient([](const Client &client) { return client.fetchInstallations(text("t")); }));
        QVERIFY(outlivesItsClient([](const Client &client) { return client.fetchRepositories(1, text("t")); }));
        QVERIFY(
            outlivesItsClient([&](const Client &client) { return client.fetchDeployments({repository}, text("t")); }));
        QVERIFY(outlivesItsClient(
            [](const Client &client) { return client.fetchDeploymentBatch({text("R")}, text("t")); }));
    }

    void aStopEndsTheRequestInFlight()
    {
        ClientFixture fixture;
        std::stop_source stop;
        const auto outcome = start(fixture.client.fetchUser(text("t"), stop.get_token()));
        QCOMPARE(fixture.session->openRequests, 1);
        stop.request_stop();
        QVERIFY(outcome->failedWithType<CancellationError>());
    }
};

VELMORA_TEST(GitHubClientTest)
#include "github_client_test.moc"
