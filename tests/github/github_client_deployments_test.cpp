// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"
#include "github/github_client_error.h"
#include "github/wire/deployments_query.h"

#include "client_fixture.h"
#include "support/test_main.h"

#include <QJsonDocument>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

QList<RepositoryRecord> repositories(int count)
{
    QList<RepositoryRecord> records(count);
    for (int i = 0; i < count; ++i)
        records[i].repository.nodeID = QStringLiteral("R_%1").arg(i);
    return records;
}

QStringList idsOf(const HTTPRequest &request)
{
    const auto variables = QJsonDocument::fromJson(*request.body)[QStringLiteral("variables")];
    return variables[QStringLiteral("ids")].toVariant().toStringList();
}

/// An answer with one repository for each requested id, with one deployment each.
QByteArray answer(const HTTPRequest &request, int cost, int remaining, const QByteArray &resetAt)
{
    QByteArrayList nodes;
    for (const auto &id : idsOf(request)) {
        nodes.append(R"({"id":")" + id.toUtf8() + R"(","nameWithOwner":"o/r","url":"https://g/o/r","deployments":)"
            + R"({"nodes":[{"id":"D)" + id.toUtf8()
            + R"(","commitOid":"c","createdAt":"2024-05-01T12:00:00Z","updatedAt":"2024-05-01T12:00:00Z"}]}})");
    }
    return R"({"data":{"nodes":[)" + nodes.join(',') + R"(],"rateLimit":{"cost":)" + QByteArray::number(cost)
        + R"(,"remaining":)" + QByteArray::number(remaining) + R"(,"resetAt":")" + resetAt + R"("}}})";
}

HTTPResponse plainAnswer(const HTTPRequest &request)
{
    return FakeHTTPSession::response(200, answer(request, 1, 4990, "2024-05-01T13:00:00Z"));
}

} // namespace

class GitHubClientDeploymentsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theQueryIsPostedWithExactlyThreeHeaders()
    {
        ClientFixture fixture;
        fixture.session->handler = plainAnswer;
        const QStringList ids{text("R_b"), text("R_a")};
        awaitValue(fixture.client.fetchDeploymentBatch(ids, text("tok")));
        const auto &request = fixture.session->requests.first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.url.toEncoded(), QByteArray("https://api.github.com/graphql"));
        const HTTPHeaders headers{{"Authorization", "Bearer tok"}, {"Content-Type", "application/json"},
            {"Accept", "application/vnd.github+json"}};
        QCOMPARE(request.headers, headers);
        const auto sent = QJsonDocument::fromJson(*request.body);
        QCOMPARE(sent[QStringLiteral("query")].toString(), deploymentsQueryText());
        QCOMPARE(idsOf(request), ids);
    }

    void anEndpointOfItsOwnIsUsedAsItIs()
    {
        ClientFixture fixture;
        fixture.client.graphqlURL = QUrl(text("https://git.example/api/graphql"));
        QCOMPARE(fixture.client.deploymentsRequest({}, text("t")).url, fixture.client.graphqlURL);
    }

    void noRepositoryNeedsNoRequest()
    {
        ClientFixture fixture;
        const auto result = awaitValue(fixture.client.fetchDeployments({}, text("t")));
        QCOMPARE(result, (DeploymentFetchResult{{}, {0, 0, distantPast()}}));
        QVERIFY(fixture.session->requests.isEmpty());
    }

    void repositoriesAreAskedForInBatchesOfTwenty_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<int>>("batches");
        QTest::newRow("one") << 1 << QList<int>{1};
        QTest::newRow("20") << 20 << QList<int>{20};
        QTest::newRow("21") << 21 << QList<int>{20, 1};
        QTest::newRow("40") << 40 << QList<int>{20, 20};
        QTest::newRow("41") << 41 << QList<int>{20, 20, 1};
    }
    void repositoriesAreAskedForInBatchesOfTwenty()
    {
        QFETCH(int, count);
        QFETCH(QList<int>, batches);
        ClientFixture fixture;
        fixture.session->handler = plainAnswer;
        const auto result = awaitValue(fixture.client.fetchDeployments(repositories(count), text("t")));
        QList<int> sizes;
        QStringList asked;
        for (const auto &request : std::as_const(fixture.session->requests)) {
            sizes.append(int(idsOf(request).size()));
            asked.append(idsOf(request));
        }
        QCOMPARE(sizes, batches);
        QCOMPARE(result.deployments.size(), count);
        QCOMPARE(result.rateLimit.cost, batches.size());
        for (int i = 0; i < count; ++i) {
            QCOMPARE(asked.at(i), QStringLiteral("R_%1").arg(i));
            QCOMPARE(result.deployments.at(i)->id, QStringLiteral("DR_%1").arg(i));
        }
    }

    void aBatchWaitsForTheOneBefore()
    {
        ClientFixture fixture;
        const auto outcome = start(fixture.client.fetchDeployments(repositories(21), text("t")));
        QCOMPARE(fixture.session->requests.size(), 1);
        QVERIFY(fixture.session->answerNext(plainAnswer(fixture.session->requests.first())));
        QCOMPARE(fixture.session->requests.size(), 2);
        QVERIFY(!outcome->isDone);
        QVERIFY(fixture.session->answerNext(plainAnswer(fixture.session->requests.last())));
        QCOMPARE(outcome->value->deployments.size(), 21);
        QCOMPARE(fixture.session->mostOpenRequests, 1);
    }

    void limitsOfBatchesAreMerged_data()
    {
        QTest::addColumn<QByteArray>("firstReset");
        QTest::addColumn<QByteArray>("secondReset");
        QTest::newRow("first later") << QByteArray("2024-05-01T14:00:00Z") << QByteArray("2024-05-01T13:00:00Z");
        QTest::newRow("second later") << QByteArray("2024-05-01T13:00:00Z") << QByteArray("2024-05-01T14:00:00Z");
    }
    void limitsOfBatchesAreMerged()
    {
        QFETCH(QByteArray, firstReset);
        QFETCH(QByteArray, secondReset);
        ClientFixture fixture;
        fixture.session->handler = [&](const HTTPRequest &request) {
            const bool isFirst = fixture.session->requests.size() == 1;
            return FakeHTTPSession::response(
                200, answer(request, 1, isFirst ? 4990 : 4980, isFirst ? firstReset : secondReset));
        };
        const auto result = awaitValue(fixture.client.fetchDeployments(repositories(40), text("t")));
        QCOMPARE(result.rateLimit, (DeploymentRateLimit{2, 4980, *parseISO8601(u"2024-05-01T14:00:00Z")}));
    }

    void onlyGitHubItselfAlwaysHasARateLimit_data()
    {
        QTest::addColumn<QString>("api");
        QTest::addColumn<QString>("graphql");
        QTest::addColumn<QString>("failure");
        const QString missing = text("data.rateLimit is missing");
        QTest::newRow("github.com") << text("https://api.github.com") << QString() << missing;
        QTest::newRow("github.com, said twice")
            << text("https://api.github.com") << text("https://api.github.com/graphql") << missing;
        QTest::newRow("an Enterprise Server")
            << text("https://ghe.example.com/api/v3") << text("https://ghe.example.com/api/graphql") << QString();
        QTest::newRow("a tenant") << text("https://api.octo.ghe.com") << QString() << QString();
    }
    void onlyGitHubItselfAlwaysHasARateLimit()
    {
        QFETCH(QString, api);
        QFETCH(QString, graphql);
        QFETCH(QString, failure);
        ClientFixture fixture;
        fixture.client.apiURL = QUrl(api);
        fixture.client.graphqlURL = QUrl(graphql);
        fixture.session->enqueue(200, R"({"data":{"nodes":[],"rateLimit":null}})");
        const auto outcome = await(fixture.client.fetchDeployments(repositories(1), text("t")));
        QCOMPARE(outcome.description(), failure);
        if (failure.isEmpty())
            QCOMPARE(outcome.value->rateLimit, DeploymentRateLimit::none());
        fixture.session->enqueue(200, R"({"data":{"nodes":[]}})");
        QCOMPARE(await(fixture.client.fetchDeployments(repositories(1), text("t"))).description(),
            text("data.rateLimit is missing"));
    }

    void aLimitThatOneBatchTellsHoldsForAll()
    {
        ClientFixture fixture;
        fixture.client.apiURL = QUrl(text("https://ghe.example.com/api/v3"));
        fixture.session->enqueue(200, R"({"data":{"nodes":[],"rateLimit":null}})");
        fixture.session->handler = plainAnswer;
        const auto result = awaitValue(fixture.client.fetchDeployments(repositories(21), text("t")));
        QCOMPARE(result.rateLimit, (DeploymentRateLimit{1, 4990, *parseISO8601(u"2024-05-01T13:00:00Z")}));
    }

    void oneFailedBatchFailsTheWholeFetch()
    {
        ClientFixture fixture;
        fixture.session->handler = [&](const HTTPRequest &request) {
            return fixture.session->requests.size() == 2 ? FakeHTTPSession::response(502, "<html>")
                                                         : plainAnswer(request);
        };
        const auto outcome = await(fixture.client.fetchDeployments(repositories(60), text("t")));
        QVERIFY(outcome.failedWith(GitHubClientError::requestFailed(502)));
        QCOMPARE(fixture.session->requests.size(), 2);
    }

    void theStatusCountsBeforeTheBody()
    {
        ClientFixture fixture;
        fixture.session->enqueue(401, R"({"errors":[{"type":"RATE_LIMITED","message":"A"}]})");
        const auto outcome = await(fixture.client.fetchDeploymentBatch({text("R")}, text("t")));
        QVERIFY(outcome.failedWith(GitHubClientError::requestFailed(401)));
        QVERIFY(!rateLimitOf(outcome.failure).has_value());
    }

    void anAnswerThatCannotBeUsedFails()
    {
        ClientFixture fixture;
        const auto description = [&](const HTTPResponse &response) {
            fixture.session->enqueue(response);
            return await(fixture.client.fetchDeploymentBatch({text("R")}, text("t"))).description();
        };
        QCOMPARE(description(HTTPResponse()), text("GitHub returned an invalid response."));
        QCOMPARE(description(FakeHTTPSession::response(200, "{}")), text("GitHub returned invalid deployment data."));
        QCOMPARE(description(FakeHTTPSession::response(200, R"({"errors":[{"message":"A"},{"message":"B"}]})")),
            text("A\nB"));
        QCOMPARE(description(FakeHTTPSession::response(200, R"({"data":{}})")), text("data.nodes is missing"));
        QVERIFY(description(FakeHTTPSession::response(200, "<html>")).startsWith(text("The data is not valid JSON")));
    }

    void aGraphQLRateLimitCarriesTheTimeOfTheHeaders()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, R"({"errors":[{"type":"RATE_LIMIT","message":"A"}]})",
            {{"x-ratelimit-remaining", "0"}, {"x-ratelimit-reset", "1714568400"}});
        const auto outcome = await(fixture.client.fetchDeploymentBatch({text("R")}, text("t")));
        QVERIFY(outcome.failedWith(DeploymentClientError::graphQL({text("A")})));
        const auto notice = rateLimitOf(outcome.failure);
        QVERIFY(notice.has_value());
        QCOMPARE(notice->resumeAt, parseISO8601(u"2024-05-01T13:00:00Z"));
    }

    void aStopBetweenBatchesEndsTheFetch()
    {
        ClientFixture fixture;
        std::stop_source stop;
        const auto outcome = start(fixture.client.fetchDeployments(repositories(40), text("t"), stop.get_token()));
        QVERIFY(fixture.session->answerNext(plainAnswer(fixture.session->requests.first())));
        stop.request_stop();
        QVERIFY(outcome->failedWithType<CancellationError>());
        QCOMPARE(fixture.session->requests.size(), 2);
        QCOMPARE(fixture.session->openRequests, 0);
    }
};

VELMORA_TEST(GitHubClientDeploymentsTest)
#include "github_client_deployments_test.moc"
