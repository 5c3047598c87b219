// SPDX-License-Identifier: MIT
#include "control/choices.h"

#include <QTest>

using namespace velmora;

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

    [[nodiscard]] Choice chooseOne(const char *key) const
    {
        return chooseInstallations({QString::fromUtf8(key)}, m_installations).first();
    }

private Q_SLOTS:
    void anInstallationIsNamedByItsKey() { QCOMPARE(chooseOne("2:10").id, QStringLiteral("2:10")); }

    void anInstallationIsNamedByItsAccountWhereThereIsOneOnly()
    {
        QCOMPARE(chooseOne("ZED").id, QStringLiteral("1:11"));
    }

    void anAccountWithTwoInstallationsIsAmbiguous()
    {
        const Choice choice = chooseOne("acme");
        QVERIFY(choice.id.isEmpty());
        QVERIFY2(choice.error.contains(QStringLiteral("1:10, 2:10")), qPrintable(choice.error));
    }

    void anUnknownInstallationIsAnsweredWithWhatThereIs()
    {
        const Choice choice = chooseOne("7:7");
        QVERIFY(choice.id.isEmpty());
        for (const char *part : {"7:7", "1:10 (acme)", "1:11 (zed)", "2:10 (acme)"})
            QVERIFY2(choice.error.contains(QString::fromUtf8(part)), part);
        QVERIFY(chooseInstallations({QStringLiteral("x")}, {}).first().error.contains(QStringLiteral("There is none")));
    }

    void aRepositoryIsNamedInAnyCaseOrByNodeID()
    {
        QCOMPARE(chooseRepositories({QStringLiteral("ACME/Api"), QStringLiteral("R_1")}, m_repositories),
            (QList<Choice>{{QStringLiteral("R_2"), {}}, {QStringLiteral("R_1"), {}}}));
    }

    void anUnknownRepositoryIsAnsweredWithWhatThereIs()
    {
        const Choice choice = chooseRepositories({QStringLiteral("r_1")}, m_repositories).first();
        QVERIFY(choice.id.isEmpty());
        QVERIFY2(choice.error.contains(QStringLiteral("acme/web, acme/api")), qPrintable(choice.error));
    }

    void aLongListIsCutShort()
    {
        QList<RepositoryRecord> many;
        for (int i = 0; i < 43; ++i)
            many.append(repository("R", qPrintable(QStringLiteral("acme/r%1").arg(i))));
        const QString error = chooseRepositories({QStringLiteral("x")}, many).first().error;
        QVERIFY(error.contains(QStringLiteral("acme/r39, and 3 more")));
        QVERIFY(!error.contains(QStringLiteral("acme/r40")));
    }
};

QTEST_GUILESS_MAIN(ChoicesTest)
#include "choices_test.moc"
