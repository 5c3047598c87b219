// SPDX-License-Identifier: MIT
#include "control/choices.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class ChoicesTest : public QObject
{
    Q_OBJECT

private:
    static InstallationRecord installation(qint64 identityID, qint64 id, const char *login)
    {
        InstallationRecord record;
        record.identityID = identityID;
        record.installation.id = id;
        record.installation.account.login = QString::fromUtf8(login);
        record.installation.account.type = QStringLiteral("Organization");
        record.installation.repositorySelection = QStringLiteral("all");
        return record;
    }

    static RepositoryRecord repository(const char *nodeID, const char *name)
    {
        RepositoryRecord record;
        record.identityID = 1;
        record.installationID = 10;
        record.installationAccount.login = QStringLiteral("acme");
        record.repository.nodeID = QString::fromUtf8(nodeID);
        record.repository.nameWithOwner = QString::fromUtf8(name);
        record.repository.url = WebAddress(QStringLiteral("https://github.com/") + QString::fromUtf8(name));
        return record;
    }

    const QList<InstallationRecord> m_installations{
        installation(1, 10, "acme"), installation(1, 11, "zed"), installation(2, 10, "acme")};
    const QList<RepositoryRecord> m_repositories{repository("R_1", "acme/web"), repository("R_2", "acme/api")};

    [[nodiscard]] Choices chooseOne(const char *key) const
    {
        return chooseInstallations({QString::fromUtf8(key)}, m_installations);
    }

    static QSet<QString> ids(const char *only) { return {QString::fromUtf8(only)}; }

    static DeploymentSnapshot failure(const char *id, const char *repository, const char *environment)
    {
        DeploymentSnapshot failure = makeSnapshot(QString::fromUtf8(id), DeploymentState::Failure, noon());
        failure.repositoryName = QString::fromUtf8(repository);
        failure.environment = QString::fromUtf8(environment);
        return failure;
    }

private Q_SLOTS:
    void aFailureIsNamedByItsIdItsPlaceOrItsRepository()
    {
        const DeploymentList failures{failure("D_1", "acme/web", "production"), failure("D_2", "acme/web", "a:b"),
            failure("D_3", "acme/api", "production"), failure("D_4", "acme/web", "production")};
        const auto named = [&](const QStringList &names) {
            return chooseFailures(names, failures).ids;
        };
        QCOMPARE(named({QStringLiteral("D_1")}), ids("D_1"));
        QCOMPARE(named({QStringLiteral("ACME/web:a:B")}), ids("D_2"));
        QCOMPARE(named({QStringLiteral("acme/web:production")}), ids("D_1") + ids("D_4"));
        QCOMPARE(named({QStringLiteral("acme/web"), QStringLiteral("D_3")}).size(), 4);
        QVERIFY(named({}).isEmpty());
        const Choices unknown = chooseFailures({QStringLiteral("D_3"), QStringLiteral("acme/tea")}, failures);
        QVERIFY(unknown.ids.isEmpty());
        QVERIFY2(
            unknown.error.startsWith(QStringLiteral("There is no failure acme/tea. There is: acme/web:production")),
            qPrintable(unknown.error));
    }

    void anInstallationIsNamedByItsKey() { QCOMPARE(chooseOne("2:10").ids, ids("2:10")); }

    void anInstallationIsNamedByItsAccountWhereThereIsOneOnly() { QCOMPARE(chooseOne("ZED").ids, ids("1:11")); }

    void anAccountWithTwoInstallationsIsAmbiguous()
    {
        const Choices choice = chooseOne("acme");
        QVERIFY(choice.ids.isEmpty());
        QVERIFY2(choice.error.contains(QStringLiteral("1:10, 2:10")), qPrintable(choice.error));
    }

    void anUnknownInstallationIsAnsweredWithWhatThereIs()
    {
        const Choices choice = chooseOne("7:7");
        QVERIFY(choice.ids.isEmpty());
        for (const char *part : {"7:7", "1:10 (acme)", "1:11 (zed)", "2:10 (acme)"})
            QVERIFY2(choice.error.contains(QString::fromUtf8(part)), part);
        QVERIFY(chooseInstallations({QStringLiteral("x")}, {}).error.contains(QStringLiteral("There is none")));
    }

    void aRepositoryIsNamedInAnyCaseOrByNodeID()
    {
        QCOMPARE(chooseRepositories({QStringLiteral("ACME/Api"), QStringLiteral("R_1")}, m_repositories),
            (Choices{{QStringLiteral("R_2"), QStringLiteral("R_1")}, {}}));
    }

    void anUnknownRepositoryIsAnsweredWithWhatThereIs()
    {
        const Choices choice = chooseRepositories({QStringLiteral("r_1")}, m_repositories);
        QVERIFY(choice.ids.isEmpty());
        QVERIFY2(choice.error.contains(QStringLiteral("acme/web, acme/api")), qPrintable(choice.error));
    }

    void whereOneNameMeansNothingNothingIsChosen()
    {
        const Choices choices = chooseRepositories(
            {QStringLiteral("acme/web"), QStringLiteral("x"), QStringLiteral("y")}, m_repositories);
        QVERIFY(choices.ids.isEmpty());
        QVERIFY2(choices.error.startsWith(QStringLiteral("There is no repository x.")), qPrintable(choices.error));
    }

    void ofSeveralRepositoriesOfOneNameTheFirstIsMeant()
    {
        const QList<RepositoryRecord> twins{repository("R_1", "acme/web"), repository("R_2", "acme/WEB")};
        QCOMPARE(chooseRepositories({QStringLiteral("Acme/Web")}, twins).ids, ids("R_1"));
    }

    void aNameIsRepeatedOnlyAsFarAsItCanBeRead()
    {
        const QString endless(1'000'000, QLatin1Char('x'));
        QVERIFY(chooseRepositories({endless}, m_repositories).error.size() < 1000);
        QVERIFY(chooseInstallations({endless}, m_installations).error.size() < 1000);
    }

    /// A linear search for each name takes longer than a test may.
    void asManyNamesAsRepositoriesAreFound()
    {
        constexpr int kCount = 50'000;
        QList<RepositoryRecord> many;
        QList<InstallationRecord> installations;
        QStringList names;
        QStringList keys;
        for (int i = 0; i < kCount; ++i) {
            const QByteArray number = QByteArray::number(i);
            many.append(repository("R_" + number, "acme/r" + number));
            installations.append(installation(1, i, "acme" + number));
            names.append(QString::fromUtf8("ACME/R" + number));
            keys.append(QString::fromUtf8("ACME" + number));
        }
        QCOMPARE(chooseRepositories(names, many).ids.size(), kCount);
        QCOMPARE(chooseInstallations(keys, installations).ids.size(), kCount);
        names.last() = QStringLiteral("x");
        QVERIFY(!chooseRepositories(names, many).error.isEmpty());
    }

    void aLongListIsCutShort()
    {
        QList<RepositoryRecord> many;
        for (int i = 0; i < 43; ++i)
            many.append(repository("R", qPrintable(QStringLiteral("acme/r%1").arg(i))));
        const QString error = chooseRepositories({QStringLiteral("x")}, many).error;
        QVERIFY(error.contains(QStringLiteral("acme/r39, and 3 more")));
        QVERIFY(!error.contains(QStringLiteral("acme/r40")));
    }
};

VELMORA_TEST(ChoicesTest)
#include "choices_test.moc"
