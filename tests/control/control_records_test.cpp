// SPDX-License-Identifier: MIT
#include "control/control_records.h"

#include "control/monitor_report.h"
#include "support/builders.h"
#include "support/error.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using State = DeploymentMonitorState;

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

template <typename Record>
void compareAfterTheWay(const Record &record)
{
    QCOMPARE(decodeJSON<Record>(encodeJSON(record)), record);
}

MonitorReport fullReport(const State &state)
{
    MonitorReport report;
    report.applicationName = QStringLiteral("Velmora Demo");
    report.state = state;
    report.lastRefreshedAt = noon() + 123456us;
    report.message = QStringLiteral("zed: one\nacme: two");
    report.unsaved = QStringLiteral("full");
    report.hint = QStringLiteral("do “this”");
    report.hidden = {makeSnapshot(QStringLiteral("D_6"), DeploymentState::Success, noon() + 5us)};
    report.deployments = {makeSnapshot(QStringLiteral("D_1"), DeploymentState::InProgress, noon() + 7us),
        makeSnapshot(QStringLiteral("D_2"), DeploymentState::Failure, noon())};
    report.marks = {{QStringLiteral("D_2"), FailureMark{Mending{QStringLiteral("D_3"), noon() + 9us}}},
        {QStringLiteral("D_4"), FailureMark{std::nullopt, false}},
        {QStringLiteral("D_5"), FailureMark{std::nullopt, false, true}}};
    change(report.deployments.first(), [](DeploymentSnapshot &deployment) {
        deployment.statusDescription = QStringLiteral("");
        deployment.logURL = WebAddress(QStringLiteral("https://ci.example/1"));
    });
    return report;
}

} // namespace

/// Checks the keys that are printed, and that records survive encoding and decoding unchanged.
class ControlRecordsTest final : public QObject
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
        FakePreferences defaults;
        const FakeClock clock(noon());
        MutedRepositories muted(&defaults, &clock);
        muted.mute(QStringLiteral("R_2"), Instant(std::chrono::sys_days(std::chrono::year(2027) / 1 / 1)));
        const auto listed = listedRepositories(
            {repository("R_1", "acme/web"), repository("R_2", "acme/api")}, {QStringLiteral("R_1")}, muted);
        QCOMPARE(encodeJSON(listed),
            json("[{'id':'R_1','name':'acme/web','url':'https://github.com/acme/web','private':false,"
                 "'installation':'1:10','account':'acme','included':true,'monitored':true,'muted':false},"
                 "{'id':'R_2','name':'acme/api','url':'https://github.com/acme/api','private':false,"
                 "'installation':'1:10','account':'acme','included':true,'monitored':false,'muted':true,"
                 "'mutedUntil':820454400.0}]"));
        RepositoriesAnswer answer;
        answer.listed = listed;
        answer.installationURL = WebAddress(QStringLiteral("https://github.com/apps/velmora"));
        compareAfterTheWay(answer);
    }

    void aPauseArrives()
    {
        compareAfterTheWay(PauseAnswer{QStringLiteral("full"), true, noon() + 1us});
        compareAfterTheWay(PauseAnswer());
        MonitorReport report = fullReport(State::loading(true));
        report.isPaused = true;
        compareAfterTheWay(report);
        report.pausedUntil = noon() + 1us;
        compareAfterTheWay(report);
    }

    void aMutingArrives()
    {
        compareAfterTheWay(MutingAnswer{{true, false, {QStringLiteral("alice: no")}}, QStringLiteral("no"),
            QStringLiteral("full"), QStringLiteral("acme/web"), true, noon() + 1us});
        compareAfterTheWay(MutingAnswer());
    }

    void anEnvironmentNamesItsRepositoryWhereItIsOnlyThere()
    {
        const EnvironmentLine previews{{QStringLiteral("preview-*"), EnvironmentChoice::Hide}, 3, true};
        const EnvironmentLine staging{
            {QStringLiteral("staging"), EnvironmentChoice::Show, QStringLiteral("R_1"), QStringLiteral("acme/web")}, 1,
            false};
        QCOMPARE(encodeJSON(ListedEnvironments{true, listedEnvironments({previews, staging})}),
            json("{'onlyProduction':true,'environments':[{'environment':'preview-*','repositories':3,'choice':'hide',"
                 "'chosen':true},{'environment':'staging','repository':'acme/web','repositories':1,'choice':'show',"
                 "'chosen':false}]}"));
    }

    void aReportArrivesExactlyInEveryState()
    {
        compareAfterTheWay(fullReport(State::loading(true)));
        compareAfterTheWay(fullReport(State::ready(noon() + 1us)));
        compareAfterTheWay(fullReport(State::ready(noon(), 72)));
        compareAfterTheWay(fullReport(State::stale(std::nullopt)));
        compareAfterTheWay(fullReport(State::rateLimited(noon(), noon() + 90s)));
        MonitorReport saved = fullReport(State::disconnected(MissingStep::Selection));
        saved.isSaved = true;
        saved.savedAt = noon();
        compareAfterTheWay(saved);
        compareAfterTheWay(fullReport(State::disconnected(MissingStep::Account)));
        compareAfterTheWay(fullReport(State::disconnected(MissingStep::Installation)));
        compareAfterTheWay(fullReport(State::disconnected(MissingStep::Access)));
        compareAfterTheWay(MonitorReport());
    }

    void answersArriveExactly()
    {
        const LoadingAnswer loading{true, false, {QStringLiteral("zed: no"), QString()}};
        const WebAddress page(QStringLiteral("https://github.com/apps/velmora"));
        const ListedInstallation installation{QStringLiteral("1:2"), QStringLiteral("zed"), QStringLiteral("acme"),
            QStringLiteral("User"), QStringLiteral("all"), false};
        const ListedRepository repository{QStringLiteral("R"), QStringLiteral("a/b"), page, true, QStringLiteral("1:2"),
            QStringLiteral("a"), false, true};
        compareAfterTheWay(loading);
        compareAfterTheWay(RemovalAnswer{QStringLiteral("zed"), QStringLiteral("no"), QStringLiteral("full")});
        compareAfterTheWay(
            InstallationsAnswer{loading, QStringLiteral("unknown"), QStringLiteral("full"), {installation}, page});
        compareAfterTheWay(RepositoriesAnswer{loading, QString(), {}, {repository}, page});
        compareAfterTheWay(QList<ListedAccount>{
            {1, QStringLiteral("zed"), GitHubSessionStatus::Connected, page, QStringLiteral("Connect zed again.")}});
        compareAfterTheWay(deploymentNotification(
            makeSnapshot(QStringLiteral("D"), DeploymentState::Failure, noon()), DeploymentNotificationKind::Failure));
    }

    void nonsenseIsRefused()
    {
        QVERIFY_THROWS_EXCEPTION(DecodingError, std::ignore = decodeJSON<MonitorReport>(QByteArray("{}")));
        QByteArray report = encodeJSON(MonitorReport());
        QVERIFY(report.contains("\"loading\""));
        report.replace("\"loading\"", "\"dancing\"");
        QVERIFY_THROWS_EXCEPTION(DecodingError, std::ignore = decodeJSON<MonitorReport>(report));
    }
};

VELMORA_TEST(ControlRecordsTest)
#include "control_records_test.moc"
