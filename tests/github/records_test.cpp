// SPDX-License-Identifier: MIT
#include "github/device_authorization.h"
#include "github/github_credential.h"
#include "github/github_user.h"
#include "github/wire/responses.h"
#include "support/error.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

template <typename Record>
QString decodingFailure(const QByteArray &json)
{
    try {
        (void)decodeJSON<Record>(json);
        return {};
    } catch (const DecodingError &error) {
        return error.description();
    }
}

const QByteArray kAuthorization
    = R"({"device_code":"d","user_code":"WDJB-MJHT",)"
      R"("verification_uri":"https://github.com/login/device","expires_in":900,"interval":5})";
const QByteArray kRepository = R"({"id":3000000000,"node_id":"R_1","full_name":"octo/app",)"
                               R"("html_url":"https://github.com/octo/app","private":true})";

} // namespace

class RecordsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDeviceAuthorizationIsReadAndWrittenUnderGitHubsKeys()
    {
        const auto record = decodeJSON<DeviceAuthorization>(kAuthorization);
        QCOMPARE(record.deviceCode, QStringLiteral("d"));
        QCOMPARE(record.userCode, QStringLiteral("WDJB-MJHT"));
        QCOMPARE(record.verificationURI.text(), QStringLiteral("https://github.com/login/device"));
        QCOMPARE(record.expiresIn, 900);
        QCOMPARE(record.interval, 5);
        QCOMPARE(encodeJSON(record), kAuthorization);
    }

    void everyFieldOfADeviceAuthorizationIsRequired_data()
    {
        QTest::addColumn<QString>("key");
        for (const char *key : {"device_code", "user_code", "verification_uri", "expires_in", "interval"})
            QTest::newRow(key) << QString::fromLatin1(key);
    }
    void everyFieldOfADeviceAuthorizationIsRequired()
    {
        QFETCH(QString, key);
        QByteArray json = kAuthorization;
        json.replace('"' + key.toUtf8() + '"', "\"other\"");
        QCOMPARE(decodingFailure<DeviceAuthorization>(json), key + QStringLiteral(" is missing"));
    }

    void aTokenResponseMayBeEmpty()
    {
        QCOMPARE(decodeJSON<GitHubOAuthResponse>("{}"), GitHubOAuthResponse());
        QCOMPARE(encodeJSON(GitHubOAuthResponse()), QByteArray("{}"));
    }

    void aTokenResponseIsReadAndWrittenUnderGitHubsKeys()
    {
        const QByteArray json = R"({"access_token":"a","expires_in":28800,"refresh_token":"r",)"
                                R"("refresh_token_expires_in":15811200,"error":"e","error_description":"d"})";
        const auto record = decodeJSON<GitHubOAuthResponse>(json);
        QCOMPARE(*record.accessToken, QStringLiteral("a"));
        QCOMPARE(*record.expiresIn, 28800);
        QCOMPARE(*record.refreshToken, QStringLiteral("r"));
        QCOMPARE(*record.refreshTokenExpiresIn, 15811200);
        QCOMPARE(*record.error, QStringLiteral("e"));
        QCOMPARE(*record.errorDescription, QStringLiteral("d"));
        QCOMPARE(encodeJSON(record), json);
    }

    void aCredentialSurvivesEncodingAndDecoding()
    {
        GitHubCredential credential;
        credential.accessToken = QStringLiteral("ghu_\u00e4");
        credential.expiresAt = parseISO8601(u"2026-05-01T12:00:00.123456Z");
        credential.refreshToken = QStringLiteral("ghr");
        credential.refreshTokenExpiresAt = parseISO8601(u"2026-11-01T12:00:00.000001Z");
        QCOMPARE(decodeJSON<GitHubCredential>(encodeJSON(credential)), credential);
    }

    void aCredentialIsWrittenUnderTheNamesOfItsFieldsAndInSecondsSince2001()
    {
        GitHubCredential credential;
        credential.accessToken = QStringLiteral("a");
        QCOMPARE(encodeJSON(credential), QByteArray(R"({"accessToken":"a"})"));
        credential.expiresAt = parseISO8601(u"2001-01-01T00:01:00Z");
        credential.refreshToken = QStringLiteral("r");
        credential.refreshTokenExpiresAt = parseISO8601(u"2001-01-01T00:00:00.5Z");
        QCOMPARE(encodeJSON(credential),
            QByteArray(R"({"accessToken":"a","expiresAt":60.0,"refreshToken":"r","refreshTokenExpiresAt":0.5})"));
    }

    void aUserMayHaveNoAvatar_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("absent") << QByteArray(R"({"id":1,"login":"o"})");
        QTest::newRow("null") << QByteArray(R"({"id":1,"login":"o","avatar_url":null})");
        QTest::newRow("empty") << QByteArray(R"({"id":1,"login":"o","avatar_url":""})");
    }
    void aUserMayHaveNoAvatar()
    {
        QFETCH(QByteArray, json);
        const auto user = decodeJSON<GitHubUser>(json);
        QCOMPARE(user.login, QStringLiteral("o"));
        QVERIFY(!user.avatarURL.has_value());
    }

    void anInstallationIsReadAndWrittenUnderGitHubsKeys()
    {
        const QByteArray json = R"({"installations":[{"id":7,"account":{"id":1,"login":"octo",)"
                                R"("avatar_url":"https://a.example/1","type":"Organization"},)"
                                R"("repository_selection":"selected"}]})";
        const auto page = decodeJSON<GitHubInstallationsResponse>(json);
        QCOMPARE(page.installations.size(), 1);
        QCOMPARE(page.installations.first().account.type, QStringLiteral("Organization"));
        QCOMPARE(page.installations.first().repositorySelection, QStringLiteral("selected"));
        QCOMPARE(encodeJSON(page), json);
    }

    void anInstallationIsSuspendedSinceATimeOrNotAtAll()
    {
        const QByteArray json = R"({"installations":[{"id":7,"account":{"id":1,"login":"octo","type":"User"},)"
                                R"("repository_selection":"all","suspended_at":)";
        const auto suspended = decodeJSON<GitHubInstallationsResponse>(json + R"("2026-01-15T10:00:00Z"}]})");
        QVERIFY(suspended.installations.first().isSuspended());
        QCOMPARE(suspended.installations.first().suspendedAt, QStringLiteral("2026-01-15T10:00:00Z"));
        const auto active = decodeJSON<GitHubInstallationsResponse>(json + "null}]}");
        QVERIFY(!active.installations.first().isSuspended());
    }

    void aRepositoryIsReadAndWrittenUnderGitHubsKeys()
    {
        const QByteArray json = R"({"repositories":[)" + kRepository + "]}";
        const auto page = decodeJSON<GitHubRepositoriesResponse>(json);
        const GitHubRepository &repository = page.repositories.first();
        QCOMPARE(repository.databaseID, 3'000'000'000);
        QCOMPARE(repository.nodeID, QStringLiteral("R_1"));
        QCOMPARE(repository.nameWithOwner, QStringLiteral("octo/app"));
        QVERIFY(repository.isPrivate);
        QCOMPARE(encodeJSON(page), json);
    }

    void whatIsMissingIsNamedWithItsPlace_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("failure");
        QTest::newRow("no list") << QByteArray("{}") << QStringLiteral("repositories is missing");
        QTest::newRow("no page") << QByteArray(
            R"({"repositories":[)" + kRepository + R"(,{"id":1,"node_id":"R","full_name":"a/b","private":false}]})")
                                 << QStringLiteral("repositories[1].html_url is missing");
        QTest::newRow("a null") << QByteArray(R"({"repositories":[{"id":null}]})")
                                << QStringLiteral("repositories[0].id is missing");
        QTest::newRow("a wrong kind") << QByteArray(R"({"repositories":[{"id":"1"}]})")
                                      << QStringLiteral("repositories[0].id is not a whole number of 64 bits");
        QTest::newRow("no object") << QByteArray("[]") << QStringLiteral("The JSON document is not an object");
    }
    void whatIsMissingIsNamedWithItsPlace()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, failure);
        QCOMPARE(decodingFailure<GitHubRepositoriesResponse>(json), failure);
    }
};

VELMORA_TEST(RecordsTest)
#include "records_test.moc"
