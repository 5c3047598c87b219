// SPDX-License-Identifier: MIT
#include "github/github_client_error.h"

#include "client_fixture.h"
#include "support/test_main.h"

#include <QTest>
#include <QUrlQuery>

using namespace velmora;
using namespace velmora::testing;

namespace
{

/// Turns single quotation marks into double ones: moc does not understand raw strings.
QByteArray quoted(const char *text)
{
    return QByteArray(text).replace('\'', '"');
}

QByteArray repositoriesPage(int first, int count)
{
    QByteArrayList items;
    for (int i = first; i < first + count; ++i) {
        const QByteArray id = QByteArray::number(i);
        items.append(quoted("{'id':") + id + quoted(",'node_id':'R_") + id + quoted("','full_name':'o/") + id
            + quoted("','html_url':'https://github.com/o/") + id + quoted("','private':false}"));
    }
    return quoted("{'total_count':9999,'repositories':[") + items.join(',') + "]}";
}

QByteArray installationsPage(int count)
{
    QByteArrayList items;
    for (int i = 0; i < count; ++i) {
        const QByteArray id = QByteArray::number(i);
        items.append(quoted("{'id':") + id
            + quoted(",'account':{'id':1,'login':'o','type':'User'},'repository_selection':'all'}"));
    }
    return quoted("{'installations':[") + items.join(',') + "]}";
}

/// Serves `total` repositories page by page.
void serveRepositories(FakeHTTPSession &session, int total)
{
    session.handler = [total](const HTTPRequest &request) {
        const int page = QUrlQuery(request.url).queryItemValue(QStringLiteral("page")).toInt();
        const int first = (page - 1) * 100;
        return FakeHTTPSession::response(200, repositoriesPage(first, std::clamp(total - first, 0, 100)));
    };
}

} // namespace

class GitHubClientRESTTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theUserIsAskedForWithoutAQuery()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, quoted("{'id':5,'login':'octo','avatar_url':'https://a.example/5'}"));
        const auto user = awaitValue(fixture.client.fetchUser(text("tok")));
        QCOMPARE(user, (GitHubUser{5, text("octo"), WebAddress(text("https://a.example/5"))}));
        const auto &request = fixture.session->requests.first();
        QCOMPARE(request.url.toEncoded(), QByteArray("https://api.github.com/user"));
        const HTTPHeaders headers{{"Authorization", "Bearer tok"}, {"Accept", "application/vnd.github+json"},
            {"X-GitHub-Api-Version", "2026-03-10"}};
        QCOMPARE(request.headers, headers);
    }

    void noInstallationCostsOneRequest()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, installationsPage(0));
        QVERIFY(awaitValue(fixture.client.fetchInstallations(text("t"))).isEmpty());
        QCOMPARE(fixture.session->requests.size(), 1);
        QCOMPARE(fixture.session->requests.first().url.toEncoded(),
            QByteArray("https://api.github.com/user/installations?per_page=100&page=1"));
    }

    void repositoriesAreReadPageByPage_data()
    {
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("requests");
        QTest::newRow("none") << 0 << 1;
        QTest::newRow("one") << 1 << 1;
        QTest::newRow("99") << 99 << 1;
        QTest::newRow("a full page") << 100 << 2;
        QTest::newRow("101") << 101 << 2;
        QTest::newRow("250") << 250 << 3;
    }
    void repositoriesAreReadPageByPage()
    {
        QFETCH(int, total);
        QFETCH(int, requests);
        ClientFixture fixture;
        serveRepositories(*fixture.session, total);
        const auto repositories = awaitValue(fixture.client.fetchRepositories(42, text("t")));
        QCOMPARE(repositories.size(), total);
        for (int i = 0; i < total; ++i)
            QCOMPARE(repositories.at(i).databaseID, i);
        QCOMPARE(fixture.session->requests.size(), requests);
        for (int page = 1; page <= requests; ++page) {
            const QByteArray expected = "https://api.github.com/user/installations/42/repositories?per_page=100&page="
                + QByteArray::number(page);
            QCOMPARE(fixture.session->requests.at(page - 1).url.toEncoded(), expected);
        }
        QCOMPARE(fixture.session->mostOpenRequests, 1);
    }

    void aFullPageThatBringsNothingNewIsAnError()
    {
        ClientFixture f;
        f.session->handler = [](const HTTPRequest &) {
            return FakeHTTPSession::response(200, repositoriesPage(0, 100));
        };
        const auto outcome = await(f.client.fetchRepositories(7, QStringLiteral("token")));
        QVERIFY(outcome.failedWith(GitHubClientError::repeatedPage()));
        QCOMPARE(outcome.description(),
            QStringLiteral("GitHub sent the same page of a list again. A proxy in between may drop “page” from the "
                           "address."));
        QCOMPARE(f.session->requests.size(), 2);
    }

    void whatMovesToTheNextPageMeanwhileIsListedOnce()
    {
        ClientFixture f;
        f.session->enqueue(200, repositoriesPage(0, 100));
        f.session->enqueue(200, repositoriesPage(99, 2));
        const auto repositories = awaitValue(f.client.fetchRepositories(7, QStringLiteral("token")));
        QCOMPARE(repositories.size(), 101);
        f.session->enqueue(200, repositoriesPage(0, 100));
        f.session->enqueue(200, repositoriesPage(99, 1));
        QCOMPARE(awaitValue(f.client.fetchRepositories(7, QStringLiteral("token"))).size(), 100);
    }

    void aPageOfMoreThanAHundredIsTheLast()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, installationsPage(101));
        QCOMPARE(awaitValue(fixture.client.fetchInstallations(text("t"))).size(), 101);
        QCOMPARE(fixture.session->requests.size(), 1);
    }

    void aLaterPageThatFailsFailsTheWholeCall()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, repositoriesPage(0, 100));
        fixture.session->enqueue(500, {});
        const auto outcome = await(fixture.client.fetchRepositories(1, text("t")));
        QVERIFY(outcome.failedWith(GitHubClientError::requestFailed(500)));
        QVERIFY(!outcome.value.has_value());
    }

    void aRepositoryWithoutItsPageFailsTheWholeCall()
    {
        ClientFixture fixture;
        fixture.session->enqueue(
            200, quoted("{'repositories':[{'id':1,'node_id':'R','full_name':'a/b','private':false}]}"));
        QCOMPARE(await(fixture.client.fetchRepositories(1, text("t"))).description(),
            text("repositories[0].html_url is missing"));
    }

    void anAccountWithoutAnAvatarHasNone()
    {
        ClientFixture fixture;
        fixture.session->enqueue(200, installationsPage(1));
        const auto installations = awaitValue(fixture.client.fetchInstallations(text("t")));
        QVERIFY(!installations.first().account.avatarURL.has_value());
    }

    void aStopBetweenPagesEndsTheCall()
    {
        ClientFixture fixture;
        std::stop_source stop;
        const auto outcome = start(fixture.client.fetchRepositories(1, text("t"), stop.get_token()));
        QVERIFY(fixture.session->answerNext(FakeHTTPSession::response(200, repositoriesPage(0, 100))));
        QCOMPARE(fixture.session->requests.size(), 2);
        QVERIFY(!outcome->isDone);
        stop.request_stop();
        QVERIFY(outcome->failedWithType<CancellationError>());
        QCOMPARE(fixture.session->requests.size(), 2);
    }
};

VELMORA_TEST(GitHubClientRESTTest)
#include "github_client_rest_test.moc"
