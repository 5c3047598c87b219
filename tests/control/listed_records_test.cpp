// SPDX-License-Identifier: MIT
#include "control/listed_records.h"

#include "support/json.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

/// Turns single quotation marks into double ones, to keep JSON literals readable.
QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

InstallationRecord installation(qint64 identityID, qint64 id, const char *login)
{
    InstallationRecord record;
    record.identityID = identityID;
    record.installation.id = id;
    record.installation.account.login = QString::fromUtf8(login);
    record.installation.account.type = QStringLiteral("Organization");
    record.installation.repositorySelection = QStringLiteral("all");
    return record;
}

RepositoryRecord repository(const char *nodeID, const char *name)
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

} // namespace

class ListedRecordsTest final : public QObject
{
    Q_OBJECT

private:
    const GitHubAccountSession m_octocat{
        {1, QStringLiteral("octocat"), WebAddress(QStringLiteral("https://a.example/1"))},
        GitHubSessionStatus::ReconnectRequired};
    const GitHubAccountSession m_zed{{3, QStringLiteral("zed"), {}}, GitHubSessionStatus::Connected};

private Q_SLOTS:
    void accountsHaveFixedKeys()
    {
        QCOMPARE(encodeJSON(listedAccounts({m_octocat, m_zed})),
            json("[{'id':1,'login':'octocat','status':'reconnectRequired','avatarURL':'https://a.example/1'},"
                 "{'id':3,'login':'zed','status':'connected'}]"));
        QCOMPARE(encodeJSON(listedAccounts({})), QByteArray("[]"));
    }

    void anInstallationNamesTheIdentityThroughWhichItIsSeen()
    {
        const auto listed
            = listedInstallations({installation(1, 10, "acme"), installation(9, 11, "zed")}, {m_zed, m_octocat});
        QCOMPARE(encodeJSON(listed),
            json("[{'key':'1:10','identity':'octocat','account':'acme','type':'Organization',"
                 "'repositorySelection':'all','enabled':true,'suspended':false},{'key':'9:11','identity':'9','account':"
                 "'zed',"
                 "'type':'Organization','repositorySelection':'all','enabled':true,'suspended':false}]"));
    }

    void aRepositoryIsMonitoredOrNot()
    {
        const auto listed = listedRepositories(
            {repository("R_1", "acme/web"), repository("R_2", "acme/api")}, {QStringLiteral("R_1")});
        QCOMPARE(encodeJSON(listed),
            json("[{'id':'R_1','name':'acme/web','url':'https://github.com/acme/web','private':false,"
                 "'installation':'1:10','account':'acme','included':true,'monitored':true},"
                 "{'id':'R_2','name':'acme/api','url':'https://github.com/acme/api','private':false,"
                 "'installation':'1:10','account':'acme','included':true,'monitored':false}]"));
    }
};

VELMORA_TEST(ListedRecordsTest)
#include "listed_records_test.moc"
