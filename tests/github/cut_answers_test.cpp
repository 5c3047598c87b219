// SPDX-License-Identifier: MIT
#include "client_fixture.h"
#include "github/deployment_client_error.h"
#include "github/device_authorization.h"
#include "github/github_client_error.h"
#include "github/github_user.h"
#include "github/wire/known_deployments.h"
#include "github/wire/responses.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QFile>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QStringList kAsked{QStringLiteral("R_1"), QStringLiteral("R_2"), QStringLiteral("R_3")};

QByteArray fileNamed(const QString &name)
{
    QFile file(QStringLiteral(VELMORA_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the answer cannot be read");
    return file.readAll();
}

/// What becomes of an answer: a record, or the description of the failure.
template <typename Record>
struct Decoded {
    std::optional<Record> record;
    QString failure;

    friend bool operator==(const Decoded &, const Decoded &) = default;
};

/// Anything but the failures that the client throws for a bad answer ends the test.
template <typename Decode>
auto decoded(Decode decode) -> Decoded<decltype(decode())>
{
    try {
        return {decode(), {}};
    } catch (const DecodingError &error) {
        return {std::nullopt, error.description()};
    } catch (const DeploymentClientError &error) {
        return {std::nullopt, error.description()};
    }
}

/// Calls `check` with each part of the answer that begins at its start, from nothing to the whole.
template <typename Check>
void forEachCut(const QByteArray &answer, Check check)
{
    for (qsizetype size = 0; size <= answer.size(); ++size)
        check(answer.first(size));
}

/// A cut is decoded like the whole if only blanks are missing, and is a failure that says so otherwise.
template <typename Decode>
void checkCuts(const QByteArray &answer, Decode decode)
{
    const auto whole = decoded([&] { return decode(answer); });
    forEachCut(answer, [&](const QByteArray &cut) {
        const auto result = decoded([&] { return decode(cut); });
        const bool isComplete = cut.trimmed() == answer.trimmed();
        const bool isWell = isComplete ? result == whole : !result.record && !result.failure.isEmpty();
        QVERIFY2(isWell, "after " + QByteArray::number(cut.size()) + " bytes: " + result.failure.toUtf8());
    });
}

template <typename Record>
void checkCutsOf(const QString &name)
{
    const QByteArray answer = fileNamed(name);
    QVERIFY(decoded([&] { return decodeJSON<Record>(answer); }).record);
    checkCuts(answer, [](const QByteArray &json) { return decodeJSON<Record>(json); });
}

} // namespace

class CutAnswersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aUserIsReadWholeOrNotAtAll() { checkCutsOf<GitHubUser>(QStringLiteral("user.json")); }

    void aListOfInstallationsIsReadWholeOrNotAtAll()
    {
        checkCutsOf<GitHubInstallationsResponse>(QStringLiteral("installations.json"));
    }

    void aListOfRepositoriesIsReadWholeOrNotAtAll()
    {
        checkCutsOf<GitHubRepositoriesResponse>(QStringLiteral("repositories.json"));
    }

    void aCodeIsReadWholeOrNotAtAll() { checkCutsOf<DeviceAuthorization>(QStringLiteral("device_code.json")); }

    void aTokenIsReadWholeOrNotAtAll_data()
    {
        addRows({"token.json", "token_without_end.json", "token_incorrect_client_credentials.json",
            "token_unverified_user_email.json"});
    }
    void aTokenIsReadWholeOrNotAtAll()
    {
        QFETCH(QString, name);
        checkCutsOf<GitHubOAuthResponse>(name);
    }

    void aFailureOfACutTokenDoesNotRepeatIt()
    {
        const QByteArray answer = fileNamed(QStringLiteral("token.json"));
        forEachCut(answer.first(answer.lastIndexOf('}')), [](const QByteArray &cut) {
            const auto result = decoded([&] { return decodeJSON<GitHubOAuthResponse>(cut); });
            QVERIFY2(!result.failure.contains(QLatin1String("0123")), qPrintable(result.failure));
        });
    }

    void deploymentsAreReadWholeOrNotAtAll_data() { addRows(kDeployments); }
    void deploymentsAreReadWholeOrNotAtAll()
    {
        QFETCH(QString, name);
        checkCuts(fileNamed(name),
            [](const QByteArray &json) { return decodedBatch(json, kAsked, RateLimitUse::Always, std::nullopt); });
    }

    void whatIsKnownDoesNotCompleteDeploymentsThatAreCut_data() { addRows(kDeployments); }
    void whatIsKnownDoesNotCompleteDeploymentsThatAreCut()
    {
        QFETCH(QString, name);
        const QByteArray answer = fileNamed(name);
        KnownDeployments known;
        const auto decode = [&known](const QByteArray &json) {
            return known.decoded(json, kAsked);
        };
        const auto whole = decoded([&] { return decode(answer); });
        checkCuts(answer, decode);
        // Nor has any cut spoiled what is known.
        QCOMPARE(decoded([&] { return decode(answer); }), whole);
    }

    void aRefusalIsOneWhateverArrivesOfItsBody_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("hasNoPointsLeft"); // according to the headers
        QTest::addColumn<QByteArray>("telling"); // the words that tell of a limit
        const auto row = [](const char *name, int status, bool hasNoPointsLeft, const char *telling) {
            QTest::newRow(name) << QString::fromLatin1(name) << status << hasNoPointsLeft << QByteArray(telling);
        };
        row("too_many_logins.json", 403, false, "");
        row("no_user_agent.txt", 403, false, "");
        row("primary_rate_limit.json", 403, true, "");
        row("secondary_rate_limit.json", 403, false, "secondary rate limit");
        row("server_error.json", 502, false, "");
    }
    void aRefusalIsOneWhateverArrivesOfItsBody()
    {
        QFETCH(QString, name);
        QFETCH(int, status);
        QFETCH(bool, hasNoPointsLeft);
        QFETCH(QByteArray, telling);
        const QString token = text("ghu_0123456789");
        HTTPHeaders headers;
        if (hasNoPointsLeft)
            headers = {{"x-ratelimit-remaining", "0"}, {"x-ratelimit-reset", "1777640400"}};
        forEachCut(fileNamed(name), [&](const QByteArray &cut) {
            ClientFixture fixture;
            fixture.session->handler = [&](const HTTPRequest &) {
                return FakeHTTPSession::response(status, cut, headers);
            };
            const bool isLimit = hasNoPointsLeft || (!telling.isEmpty() && cut.contains(telling));
            const auto check = [&](const auto &outcome) {
                QVERIFY2(outcome.failedWith(GitHubClientError::requestFailed(status)), cut);
                const auto limit = rateLimitOf(outcome.failure);
                QVERIFY2(limit.has_value() == isLimit, cut);
                QCOMPARE(limit && limit->resumeAt, hasNoPointsLeft);
            };
            const GitHubClient &client = fixture.client;
            check(await(client.fetchUser(token)));
            check(await(client.fetchInstallations(token)));
            check(await(client.fetchRepositories(7, token)));
            check(await(client.fetchDeploymentBatch(kAsked, token)));
            check(await(client.beginDeviceAuthorization()));
            check(await(client.requestToken({})));
        });
    }

    void anAnswerToAnotherQuestionIsNone()
    {
        const QByteArray answer = fileNamed(QStringLiteral("rate_limit.json"));
        forEachCut(answer, [&](const QByteArray &cut) {
            ClientFixture fixture;
            fixture.session->handler = [&](const HTTPRequest &) {
                return FakeHTTPSession::response(200, cut);
            };
            const GitHubClient &client = fixture.client;
            QVERIFY2(await(client.fetchUser(QString())).failure, cut);
            QVERIFY2(await(client.fetchInstallations(QString())).failure, cut);
            QVERIFY2(await(client.fetchRepositories(7, QString())).failure, cut);
            QVERIFY2(await(client.fetchDeploymentBatch(kAsked, QString())).failure, cut);
            QVERIFY2(await(client.beginDeviceAuthorization()).failure, cut);
            QVERIFY2(!await(client.requestToken({})).value.value_or(GitHubOAuthResponse()).accessToken, cut);
        });
    }

    void aRefusalThatIsCutIsStillARefusal()
    {
        const QByteArray answer = R"({"error":"device_flow_disabled","error_description":"It is off."})";
        forEachCut(answer, [&](const QByteArray &cut) {
            ClientFixture fixture;
            fixture.session->enqueue(400, cut);
            const auto outcome = await(fixture.client.beginDeviceAuthorization());
            const auto expected
                = cut == answer ? GitHubClientError::deviceFlowDisabled() : GitHubClientError::requestFailed(400);
            QVERIFY2(outcome.failedWith(expected), cut);
        });
    }

private:
    static constexpr std::initializer_list<const char *> kDeployments{
        "deployments.json", "deployments_with_errors.json", "deployments_refused.json"};

    static void addRows(std::initializer_list<const char *> names)
    {
        QTest::addColumn<QString>("name");
        for (const char *name : names)
            QTest::newRow(name) << QString::fromLatin1(name);
    }
};

VELMORA_TEST(CutAnswersTest)
#include "cut_answers_test.moc"
