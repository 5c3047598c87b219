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
    QFile file(QStringLiteral(VELMORA_TEST_DATA "/%1.json").arg(name));
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
    void aUserIsReadWholeOrNotAtAll() { checkCutsOf<GitHubUser>(QStringLiteral("user")); }

    void aListOfInstallationsIsReadWholeOrNotAtAll()
    {
        checkCutsOf<GitHubInstallationsResponse>(QStringLiteral("installations"));
    }

    void aListOfRepositoriesIsReadWholeOrNotAtAll()
    {
        checkCutsOf<GitHubRepositoriesResponse>(QStringLiteral("repositories"));
    }

    void aCodeIsReadWholeOrNotAtAll() { checkCutsOf<DeviceAuthorization>(QStringLiteral("device_code")); }

    void aTokenIsReadWholeOrNotAtAll_data() { addRows({"token", "token_without_end", "token_refused"}); }
    void aTokenIsReadWholeOrNotAtAll()
    {
        QFETCH(QString, name);
        checkCutsOf<GitHubOAuthResponse>(name);
    }

    void aFailureOfACutTokenDoesNotRepeatIt()
    {
        const QByteArray answer = fileNamed(QStringLiteral("token"));
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
        "deployments", "deployments_with_errors", "deployments_refused"};

    static void addRows(std::initializer_list<const char *> names)
    {
        QTest::addColumn<QString>("name");
        for (const char *name : names)
            QTest::newRow(name) << QString::fromLatin1(name);
    }
};

VELMORA_TEST(CutAnswersTest)
#include "cut_answers_test.moc"
