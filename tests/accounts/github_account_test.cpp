// SPDX-License-Identifier: MIT
#include "accounts/github_account.h"

#include "support/error.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;

class GitHubAccountTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void accountsAreStoredAsABareArray()
    {
        const QList<GitHubAccount> accounts{
            {9'007'199'254'740'993, QStringLiteral("octocat"), WebAddress(QStringLiteral("https://example.com/a?s=4"))},
            {42, QStringLiteral("hubot"), std::nullopt}};
        const QByteArray json = encodeJSON(accounts);
        QCOMPARE(json,
            QByteArray(R"([{"id":9007199254740993,"login":"octocat","avatarURL":"https://example.com/a?s=4"},)"
                       R"({"id":42,"login":"hubot"}])"));
        QVERIFY(decodeJSON<QList<GitHubAccount>>(json) == accounts);
    }

    void noAccountsAreAnEmptyArray()
    {
        QCOMPARE(encodeJSON(QList<GitHubAccount>()), QByteArray("[]"));
        QVERIFY(decodeJSON<QList<GitHubAccount>>("[]").isEmpty());
    }

    void anAccountWithoutItsIdOrLoginIsRefused()
    {
        QVERIFY_THROWS_EXCEPTION(DecodingError, decodeJSON<QList<GitHubAccount>>(R"([{"login":"x"}])"));
        QVERIFY_THROWS_EXCEPTION(DecodingError, decodeJSON<QList<GitHubAccount>>(R"([{"id":1}])"));
        QVERIFY_THROWS_EXCEPTION(DecodingError, decodeJSON<QList<GitHubAccount>>(R"({"id":1,"login":"x"})"));
    }

    void everyStatusHasTheNameOfItsCase()
    {
        QCOMPARE(rawValue(GitHubSessionStatus::Disconnected), QStringLiteral("disconnected"));
        QCOMPARE(rawValue(GitHubSessionStatus::RequestingCode), QStringLiteral("requestingCode"));
        QCOMPARE(rawValue(GitHubSessionStatus::AwaitingAuthorization), QStringLiteral("awaitingAuthorization"));
        QCOMPARE(rawValue(GitHubSessionStatus::Connected), QStringLiteral("connected"));
        QCOMPARE(rawValue(GitHubSessionStatus::Refreshing), QStringLiteral("refreshing"));
        QCOMPARE(rawValue(GitHubSessionStatus::ReconnectRequired), QStringLiteral("reconnectRequired"));
    }
};

VELMORA_TEST(GitHubAccountTest)
#include "github_account_test.moc"
