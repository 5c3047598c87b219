// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"
#include "github/wire/deployments_query.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QFile>
#include <QJsonDocument>
#include <QTest>

using namespace velmora;

namespace
{

/// Turns single quotation marks into double ones: moc does not understand raw strings.
QByteArray quoted(const char *text)
{
    return QByteArray(text).replace('\'', '"');
}

QByteArray fixture()
{
    QFile file(QStringLiteral(VELMORA_TEST_DATA "/deployments.json"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

DeploymentFetchResult resultOf(const QByteArray &json)
{
    const auto batch = decodedBatch(json, {}, RateLimitUse::Always);
    DeploymentFetchResult result{{}, batch.rateLimit, batch.unanswered};
    for (const auto &deployments : batch.repositories)
        result.deployments += deployments;
    return result;
}

QString failureOf(const QByteArray &json)
{
    try {
        (void)resultOf(json);
        return {};
    } catch (const Error &error) {
        return error.description();
    }
}

const QByteArray kLimit = quoted("'rateLimit':{'cost':1,'remaining':2,'resetAt':'2024-05-01T13:00:00Z'}");
const QByteArray kFirst
    = quoted("'id':'D','commitOid':'c','createdAt':'2024-05-01T12:00:00Z','updatedAt':'2024-05-01T12:00:00Z'");

/// An answer with one repository that has these deployment nodes.
QByteArray answer(const QByteArray &deployments)
{
    return quoted("{'data':{'nodes':[{'id':'R','nameWithOwner':'o/r','url':'https://g/o/r','deployments':{'nodes':[")
        + deployments + "]}}]," + kLimit + "}}";
}

RepositoryNode repository()
{
    return {QStringLiteral("R"), QStringLiteral("o/r"), WebAddress(QStringLiteral("https://g/o/r")), {}};
}

DeploymentNode deployment()
{
    DeploymentNode node;
    node.id = "D";
    node.createdAt = "2024-05-01T12:00:00Z";
    node.updatedAt = "2024-05-01T12:01:00Z";
    return node;
}

std::optional<DeploymentSnapshot> snapshotOf(const DeploymentNode &node)
{
    SharedTexts texts;
    return snapshot(node, repository(), texts);
}

std::optional<RateLimitNotice> noticeOf(const QByteArray &json, std::optional<Instant> resumeAt)
{
    try {
        const JSONDocument document(json);
        (void)payload(decodeJSON<GitHubDeploymentGraphQLResponse>(document), resumeAt);
        return std::nullopt;
    } catch (const DeploymentClientError &error) {
        return error.rateLimit();
    }
}

} // namespace

class DeploymentsQueryTest : public QObject
{
    Q_OBJECT

    /// The unanswered repositories of an answer for "R_0" and "R_1" whose second node is null.
    static QList<UnansweredRepository> unansweredIn(const QByteArray &error)
    {
        const QByteArray json
            = quoted("{'data':{'nodes':[{'id':'R_0','nameWithOwner':'o/0','url':'https://github.com/o/0',"
                     "'deployments':{'nodes':[]}},null],"
                     "'rateLimit':{'cost':1,'remaining':1,'resetAt':'2026-05-01T12:00:00Z'}},'errors':[{")
            + error + "}]}";
        const JSONDocument document(json);
        return unansweredRepositories(
            decodeJSON<GitHubDeploymentGraphQLResponse>(document), {QStringLiteral("R_0"), QStringLiteral("R_1")});
    }

private Q_SLOTS:
    void theRequestHoldsTheQueryAndTheIdsInTheirOrder()
    {
        const auto json = encodeJSON(
            GitHubGraphQLRequest{deploymentsQueryText(), {{QStringLiteral("R_2"), QStringLiteral("R_1")}}});
        QVERIFY(
            json.startsWith(quoted("{'query':'query VelmoraDeployments($ids: [ID!]!) {\\n  nodes(ids: $ids) {\\n")));
        QVERIFY(json.endsWith(quoted("','variables':{'ids':['R_2','R_1']}}")));
        const QString query = QJsonDocument::fromJson(json)[QStringLiteral("query")].toString();
        QCOMPARE(query, deploymentsQueryText());
        QVERIFY(query.contains(
            QStringLiteral("\n      deployments(first: 20, orderBy: {field: CREATED_AT, direction: DESC}) {\n")));
        QVERIFY(query.endsWith(QStringLiteral("\n    resetAt\n  }\n}")));
        QCOMPARE(query.count(QLatin1Char('\n')), 35);
    }

    void anAnswerBecomesSnapshotsInItsOrder()
    {
        const auto result = resultOf(fixture());
        QStringList ids;
        for (const DeploymentSnapshot &snapshot : result.deployments)
            ids.append(snapshot.id);
        QCOMPARE(ids,
            (QStringList{
                QStringLiteral("DE_1"), QStringLiteral("DE_2"), QStringLiteral("DE_3"), QStringLiteral("DE_4")}));
        QCOMPARE(result.rateLimit, (DeploymentRateLimit{1, 4990, *parseISO8601(u"2024-05-01T13:00:00Z")}));
    }

    void everyFieldOfASnapshotComesFromItsPlace()
    {
        DeploymentSnapshot expected;
        expected.id = QStringLiteral("DE_1");
        expected.repositoryNodeID = QStringLiteral("R_1");
        expected.repositoryName = QStringLiteral("octo/app");
        expected.repositoryURL = WebAddress(QStringLiteral("https://github.com/octo/app"));
        expected.environment = QStringLiteral("staging");
        expected.commitOID = QStringLiteral("c0ffee01");
        expected.creatorLogin = QStringLiteral("octo");
        expected.state = DeploymentState::Success;
        expected.createdAt = *parseISO8601(u"2024-05-01T12:00:00Z");
        expected.updatedAt = *parseISO8601(u"2024-05-01T12:06:00Z");
        expected.statusDescription = QStringLiteral("Deployed");
        expected.logURL = WebAddress(QStringLiteral("https://ci.example/1"));
        expected.environmentURL = WebAddress(QStringLiteral("https://staging.example/"));
        QCOMPARE(*resultOf(fixture()).deployments.first(), expected);
    }

    void withoutAStatusTheDeploymentSpeaksForItself()
    {
        const DeploymentSnapshot made = resultOf(fixture()).deployments.at(1);
        QCOMPARE(made.environment, QStringLiteral("production"));
        QCOMPARE(made.state, DeploymentState::InProgress);
        QCOMPARE(made.updatedAt, *parseISO8601(u"2024-05-01T12:05:00.25Z"));
        QVERIFY(!made.statusDescription && !made.logURL && !made.environmentURL);
    }

    void whatIsAbsentEverywhereHasItsDefault()
    {
        const DeploymentSnapshot made = resultOf(fixture()).deployments.at(2);
        QCOMPARE(made.environment, QStringLiteral("Default"));
        QCOMPARE(made.state, DeploymentState::Unknown);
        QVERIFY(!made.creatorLogin.has_value());
    }

    void aStatusOfUnreadableTimeLeavesTheTimeOfTheDeployment()
    {
        const DeploymentSnapshot made = resultOf(fixture()).deployments.at(3);
        QCOMPARE(made.updatedAt, *parseISO8601(u"2024-05-01T12:05:00.25Z"));
        QCOMPARE(made.state, DeploymentState::Waiting);
        QCOMPARE(made.statusDescription, std::optional(QString(QLatin1String(""))));
        QVERIFY(!made.environmentURL && !made.logURL);
        QCOMPARE(made.environment, QStringLiteral("production"));
    }

    void theEnvironmentIsTheFirstThatIsPresent()
    {
        DeploymentNode node = deployment();
        const auto environment = [&] {
            return snapshotOf(node)->environment;
        };
        QCOMPARE(environment(), QStringLiteral("Default"));
        node.environment = "preview";
        QCOMPARE(environment(), QStringLiteral("preview"));
        node.latestEnvironment = "production";
        QCOMPARE(environment(), QStringLiteral("production"));
        node.latestStatus = StatusNode();
        QCOMPARE(environment(), QStringLiteral("production"));
        node.latestStatus->environment = "staging";
        QCOMPARE(environment(), QStringLiteral("staging"));
        node.latestStatus->environment = "";
        QCOMPARE(environment(), QString());
    }

    void aDeploymentOfUnreadableTimeIsLeftOut()
    {
        DeploymentNode node = deployment();
        QVERIFY(snapshotOf(node).has_value());
        node.createdAt = "2024-05-01";
        QVERIFY(!snapshotOf(node).has_value());
        node = deployment();
        node.updatedAt = "";
        QVERIFY(!snapshotOf(node).has_value());
    }

    void anObjectOfAnotherTypeIsNoRepository()
    {
        const JSONDocument document(quoted("{'data':{'nodes':[null,{},{'__typename':'User'}],") + kLimit + "}}");
        const auto result = decodeJSON<GitHubDeploymentGraphQLResponse>(document);
        QCOMPARE(result.data->nodes.size(), 3);
        for (const auto &node : result.data->nodes)
            QVERIFY(!node.has_value());
    }

    void repeatedNamesShareTheirMemory()
    {
        const auto result = resultOf(fixture());
        QCOMPARE(
            result.deployments.at(0)->repositoryName.constData(), result.deployments.at(1)->repositoryName.constData());
        QCOMPARE(
            result.deployments.at(0)->creatorLogin->constData(), result.deployments.at(3)->creatorLogin->constData());
        QCOMPARE(result.deployments.at(1)->environment.constData(), result.deployments.at(3)->environment.constData());
    }

    void aBadAnswerIsToldInWords_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("failure");
        const auto row = [](const char *name, const QByteArray &json, const char *failure) {
            QTest::newRow(name) << json << QString::fromUtf8(failure);
        };
        const char *const invalid = "GitHub returned invalid deployment data.";
        row("errors", quoted("{'errors':[{'message':'A'},{'message':'B'}]}"), "A\nB");
        row("errors and null data", quoted("{'data':null,'errors':[{'message':'A'}]}"), "A");
        row("empty object", "{}", invalid);
        row("no errors", quoted("{'errors':[]}"), invalid);
        row("null errors", quoted("{'data':null,'errors':null}"), invalid);
        row("error without message", quoted("{'errors':[{'type':'X'}]}"), "errors[0].message is missing");
        row("error of null message", quoted("{'errors':[{'message':null}]}"), "errors[0].message is missing");
        row("error of wrong message", quoted("{'errors':[{'message':1}]}"), "errors[0].message is not a text");
        row("error that is none", quoted("{'errors':['A']}"), "errors[0] is not an object");
        row("no nodes", quoted("{'data':{") + kLimit + "}}", "data.nodes is missing");
        row("no limit", quoted("{'data':{'nodes':[]}}"), "data.rateLimit is missing");
        row("null limit", quoted("{'data':{'nodes':[],'rateLimit':null}}"), "data.rateLimit is missing");
        row("bad reset", quoted("{'data':{'nodes':[],'rateLimit':{'cost':1,'remaining':2,'resetAt':'soon'}}}"),
            invalid);
        row("no reset", quoted("{'data':{'nodes':[],'rateLimit':{'cost':1,'remaining':2}}}"),
            "data.rateLimit.resetAt is missing");
        row("half a repository",
            quoted("{'data':{'nodes':[null,null,null,{'id':'R','nameWithOwner':'o/r'}],") + kLimit + "}}",
            "data.nodes[3].url is missing");
        row("no list",
            quoted("{'data':{'nodes':[{'id':'R','nameWithOwner':'o/r','url':'https://g','deployments':{}}],") + kLimit
                + "}}",
            "data.nodes[0].deployments.nodes is missing");
        row("node that is none", quoted("{'data':{'nodes':[1],") + kLimit + "}}", "data.nodes[0] is not an object");
        row("no commit", answer("null," + quoted("{'id':'D'}")),
            "data.nodes[0].deployments.nodes[1].commitOid is missing");
        row("no login", answer("{" + kFirst + quoted(",'creator':{}}")),
            "data.nodes[0].deployments.nodes[0].creator.login is missing");
        row("no state", answer("{" + kFirst + quoted(",'latestStatus':{'updatedAt':'x'}}")),
            "data.nodes[0].deployments.nodes[0].latestStatus.state is missing");
        row("text for number", quoted("{'data':{'nodes':[],'rateLimit':{'cost':'1','remaining':2,'resetAt':'x'}}}"),
            "data.rateLimit.cost is not a whole number of 64 bits");
    }
    void aBadAnswerIsToldInWords()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, failure);
        QCOMPARE(failureOf(json), failure);
    }

    void whereLimitsCanBeSwitchedOffANullMeansThatThereIsNone()
    {
        const JSONDocument none(quoted("{'data':{'nodes':[],'rateLimit':null}}"));
        const auto answer = payload(decodeJSON<GitHubDeploymentGraphQLResponse>(none));
        QCOMPARE(batchOf(answer, RateLimitUse::Configurable).rateLimit, DeploymentRateLimit::none());
        const JSONDocument limited(quoted("{'data':{'nodes':[],") + kLimit + "}}");
        const auto other = payload(decodeJSON<GitHubDeploymentGraphQLResponse>(limited));
        QCOMPARE(batchOf(other, RateLimitUse::Configurable).rateLimit.remaining, 2);
    }

    void errorsBesideDataAreIgnored() { QCOMPARE(failureOf(fixture()), QString()); }

    void aRepositoryThatIsNullBesideAnErrorIsUnansweredForAReason_data()
    {
        QTest::addColumn<QByteArray>("error");
        QTest::addColumn<QString>("beginning");
        const auto row = [](const char *name, const char *error, const char *beginning) {
            QTest::newRow(name) << quoted(error) << QString::fromUtf8(beginning);
        };
        row("single sign-on", "'type':'FORBIDDEN','extensions':{'saml_failure':true}",
            "Its organization asks for single");
        row("a bare refusal", "'type':'FORBIDDEN'", "Velmora may not read its deployments. Allow");
        row("missing permission", "'type':'FORBIDDEN','extensions':{'saml_failure':false}", "Velmora may not read");
        row("gone", "'type':'NOT_FOUND'", "GitHub does not find it.");
        row("too expensive", "'type':'RESOURCE_LIMITS_EXCEEDED'", "GitHub found the question too expensive.");
        row("another kind", "'type':'SOMETHING'", "words");
        row("no kind", "'extensions':7", "words");
    }
    void aRepositoryThatIsNullBesideAnErrorIsUnansweredForAReason()
    {
        QFETCH(QByteArray, error);
        QFETCH(QString, beginning);
        const auto unanswered = unansweredIn(error + quoted(",'message':'words','path':['nodes',1,'deployments']"));
        QCOMPARE(unanswered.size(), 1);
        QCOMPARE(unanswered.first().nodeID, QStringLiteral("R_1"));
        QVERIFY2(unanswered.first().reason.startsWith(beginning), qPrintable(unanswered.first().reason));
    }

    void theWordsOfAnErrorTellOfSingleSignOnAndOfAddresses()
    {
        const QByteArray path = quoted(",'type':'FORBIDDEN','path':['nodes',1]");
        QVERIFY(unansweredIn(quoted("'message':'Resource protected by organization SAML enforcement.'") + path)
                    .first()
                    .reason.contains(QLatin1String("single sign-on")));
        QVERIFY(unansweredIn(quoted("'message':'The organization has an IP allow list enabled.'") + path)
                    .first()
                    .reason.contains(QLatin1String("network")));
    }

    void anErrorThatIsAboutNoNullIsIgnored_data()
    {
        QTest::addColumn<QByteArray>("error");
        QTest::newRow("a repository that is there") << quoted("'message':'m','path':['nodes',0,'deployments']");
        QTest::newRow("a place that is none") << quoted("'message':'m','path':['nodes',3]");
        QTest::newRow("a negative place") << quoted("'message':'m','path':['nodes',-1]");
        QTest::newRow("an absurd place") << quoted("'message':'m','path':['nodes',99999999999]");
        QTest::newRow("another field") << quoted("'message':'m','path':['rateLimit']");
        QTest::newRow("a path that is none") << quoted("'message':'m','path':'nodes'");
        QTest::newRow("no path") << quoted("'message':'m'");
    }
    void anErrorThatIsAboutNoNullIsIgnored()
    {
        QFETCH(QByteArray, error);
        QVERIFY(unansweredIn(error).isEmpty());
    }

    void wordsOfErrorsAreCut()
    {
        const QByteArray words = quoted("'message':'") + QByteArray(9000, 'x') + quoted("','path':['nodes',1]");
        QCOMPARE(unansweredIn(words).first().reason.size(), 500);
    }

    void errorsOfARateLimitCarryTheTimeOfTheHeaders_data()
    {
        QTest::addColumn<QByteArray>("error");
        QTest::addColumn<bool>("isLimit");
        QTest::newRow("older") << quoted("{'type':'RATE_LIMITED','message':'m'}") << true;
        QTest::newRow("newer") << quoted("{'type':'RATE_LIMIT','code':'graphql_rate_limit','message':'m'}") << true;
        QTest::newRow("secondary") << quoted("{'message':'You have exceeded a Secondary rate limit'}") << true;
        QTest::newRow("another") << quoted("{'type':'FORBIDDEN','message':'m'}") << false;
        QTest::newRow("odd type") << quoted("{'type':7,'message':'m'}") << false;
    }
    void errorsOfARateLimitCarryTheTimeOfTheHeaders()
    {
        QFETCH(QByteArray, error);
        QFETCH(bool, isLimit);
        const Instant resume = *parseISO8601(u"2026-05-01T12:00:00Z");
        const QByteArray json = quoted("{'errors':[{'message':'first'},") + error + "]}";
        QCOMPARE(noticeOf(json, resume), isLimit ? std::optional(RateLimitNotice{resume}) : std::nullopt);
        QCOMPARE(noticeOf(json, std::nullopt), isLimit ? std::optional(RateLimitNotice()) : std::nullopt);
    }
};

VELMORA_TEST(DeploymentsQueryTest)
#include "deployments_query_test.moc"
