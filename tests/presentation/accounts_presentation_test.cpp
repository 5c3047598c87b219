// SPDX-License-Identifier: MIT
#include "presentation/accounts_presentation.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

Q_DECLARE_METATYPE(velmora::GitHubSessionStatus)
Q_DECLARE_METATYPE(velmora::Tone)

class AccountsPresentationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aStatusHasItsTextAndTone_data()
    {
        QTest::addColumn<GitHubSessionStatus>("status");
        QTest::addColumn<QString>("text");
        QTest::addColumn<Tone>("tone");
        using enum GitHubSessionStatus;
        const QString disconnected = QStringLiteral("Disconnected");
        QTest::newRow("connected") << Connected << QStringLiteral("Connected") << Tone::Green;
        QTest::newRow("refreshing") << Refreshing << QStringLiteral("Refreshing access") << Tone::Secondary;
        QTest::newRow("reconnect") << ReconnectRequired << QStringLiteral("Reconnect required") << Tone::Orange;
        QTest::newRow("disconnected") << Disconnected << disconnected << Tone::Secondary;
        QTest::newRow("requesting") << RequestingCode << disconnected << Tone::Secondary;
        QTest::newRow("awaiting") << AwaitingAuthorization << disconnected << Tone::Secondary;
    }

    void aStatusHasItsTextAndTone()
    {
        QFETCH(GitHubSessionStatus, status);
        QFETCH(QString, text);
        QFETCH(Tone, tone);
        QCOMPARE(sessionStatusText(status), text);
        QCOMPARE(sessionStatusTone(status), tone);
    }

    void whatIsKnownOfInstallationsIsSaid_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("isLoaded");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("offersInstalling");
        const QString failure = QStringLiteral("GitHub is away.");
        QTest::newRow("nothing yet") << 0 << false << QString() << QString() << false;
        QTest::newRow("none") << 0 << true << QString() << QStringLiteral("No installations") << true;
        QTest::newRow("one") << 1 << true << QString() << QStringLiteral("1 installation") << false;
        QTest::newRow("several") << 12 << true << QString() << QStringLiteral("12 installations") << false;
        QTest::newRow("failed") << 0 << false << failure << failure << false;
    }

    void whatIsKnownOfInstallationsIsSaid()
    {
        QFETCH(int, count);
        QFETCH(bool, isLoaded);
        QFETCH(QString, failure);
        QFETCH(QString, text);
        QFETCH(bool, offersInstalling);
        const InstallationKnowledge knowledge{
            count, isLoaded, failure.isEmpty() ? std::nullopt : std::optional(failure)};
        QCOMPARE(installationSummary(knowledge), (InstallationSummary{text, offersInstalling}));
    }

    void installationsAreCountedForTheIdentityThatSeesThem()
    {
        InstallationRecord one;
        one.identityID = 1;
        InstallationRecord two;
        two.identityID = 2;
        QCOMPARE(installationCount({one, two, one}, 1), 2);
        QCOMPARE(installationCount({one, two, one}, 2), 1);
        QCOMPARE(installationCount({one, two, one}, 3), 0);
    }

    void aNameThatSeveralSeeIsReadWithWhoeverSeesIt()
    {
        const auto installation = [](qint64 identityID, const char *login) {
            InstallationRecord record;
            record.identityID = identityID;
            record.installation.account.login = QString::fromLatin1(login);
            record.installation.account.type = QStringLiteral("Organization");
            return record;
        };
        const auto session = [](qint64 id, const char *login) {
            GitHubAccountSession result;
            result.account.id = id;
            result.account.login = QString::fromLatin1(login);
            return result;
        };
        const QList<InstallationRecord> records{
            installation(1, "acme"), installation(2, "acme"), installation(2, "own")};
        const QList<GitHubAccountSession> sessions{session(1, "alice"), session(2, "bob")};
        QCOMPARE(installationDescription(records[0], records, sessions), QStringLiteral("Organization, seen by alice"));
        QCOMPARE(installationDescription(records[1], records, sessions), QStringLiteral("Organization, seen by bob"));
        QCOMPARE(installationDescription(records[2], records, sessions), QStringLiteral("Organization"));
        QCOMPARE(installationDescription(records[0], records, {}), QStringLiteral("Organization"));
    }

    void installationsAreShownWhereThereAreAccountsAndInstallations()
    {
        QVERIFY(!showsInstallations({}, {}));
        QVERIFY(!showsInstallations({GitHubAccountSession()}, {}));
        QVERIFY(!showsInstallations({}, {InstallationRecord()}));
        QVERIFY(showsInstallations({GitHubAccountSession()}, {InstallationRecord()}));
    }
};

VELMORA_TEST(AccountsPresentationTest)
#include "accounts_presentation_test.moc"
