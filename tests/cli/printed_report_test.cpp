// SPDX-License-Identifier: MIT
#include "cli/printed_report.h"

#include "support/builders.h"
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

} // namespace

class PrintedReportTest : public QObject
{
    Q_OBJECT

private:
    static MonitorReport report(const State &state)
    {
        MonitorReport report;
        report.applicationName = QStringLiteral("Velmora");
        report.state = state;
        return report;
    }

private Q_SLOTS:
    void absentValuesAreLeftOut()
    {
        QCOMPARE(jsonLine(report(State::loading(false)), noon()),
            json("{'state':'loading','title':'Velmora','symbol':'arrow.triangle.2.circlepath','deployments':[]}"));
    }

    void aStretchedIntervalIsWritten()
    {
        QCOMPARE(jsonLine(report(State::ready(noon(), 72)), noon()),
            json("{'state':'ready','title':'Velmora','symbol':'checkmark.circle','refreshIntervalSeconds':72,"
                 "'deployments':[]}"));
    }

    void everythingThereIsIsWritten()
    {
        MonitorReport full = report(State::rateLimited(noon(), noon() + 90s + 250ms));
        full.lastRefreshedAt = noon();
        full.message = QStringLiteral("zed: The network is down.");
        full.unsaved = QStringLiteral("Cannot write a");
        DeploymentSnapshot snapshot = makeSnapshot(QStringLiteral("D_1"), DeploymentState::InProgress, noon());
        snapshot.refName = QStringLiteral("main");
        snapshot.creatorLogin = QStringLiteral("octocat");
        snapshot.statusDescription = QStringLiteral("");
        snapshot.logURL = WebAddress(QStringLiteral("https://ci.example/1"));
        snapshot.environmentURL = WebAddress(QStringLiteral("https://acme.example/"));
        full.deployments = {snapshot};
        QCOMPARE(jsonLine(full, noon()),
            json("{'state':'rateLimited','title':'Velmora','symbol':'clock.badge.exclamationmark',"
                 "'lastRefreshedAt':'2026-05-01T12:00:00Z','resumeAt':'2026-05-01T12:01:30.250000Z',"
                 "'message':'zed: The network is down.','unsaved':'Cannot write "
                 "a','deployments':[{'id':'D_1','repositoryNodeID':'R_web',"
                 "'repositoryName':'acme/web','repositoryURL':'https://github.com/acme/web',"
                 "'environment':'production','refName':'main',"
                 "'commitOID':'0123456789abcdef0123456789abcdef01234567','creatorLogin':'octocat',"
                 "'state':'inProgress','createdAt':'2026-05-01T12:00:00Z','updatedAt':'2026-05-01T12:00:00Z',"
                 "'statusDescription':'','logURL':'https://ci.example/1',"
                 "'environmentURL':'https://acme.example/','elapsedSeconds':0}]}"));
    }

    void whatIsUnderWayHasItsElapsedSeconds()
    {
        MonitorReport ready = report(State::ready(noon()));
        DeploymentSnapshot running = makeSnapshot(QStringLiteral("D_1"), DeploymentState::Waiting, noon());
        running.createdAt = noon() - 3min;
        ready.deployments = {running};
        QVERIFY(jsonLine(ready, noon() + 1s + 900ms).contains(json("'elapsedSeconds':181}")));
        QVERIFY2(
            jsonLine(ready, noon() - 1h).contains(json("'elapsedSeconds':0}")), "The clock may be behind GitHub's");
        running.state = DeploymentState::Success;
        ready.deployments = {running};
        QVERIFY(!jsonLine(ready, noon()).contains("elapsedSeconds"));
    }

    void aMendedFailureNamesWhatHasMendedIt()
    {
        MonitorReport ready = report(State::ready(noon()));
        const auto failed = makeSnapshot(QStringLiteral("D_1"), DeploymentState::Failure, noon() - 3min);
        ready.deployments = {failed};
        QVERIFY(!jsonLine(ready, noon()).contains("mended"));
        ready.marks = {{failed.id, FailureMark{Mending{QStringLiteral("D_2"), noon() - 2min}}}};
        const QByteArray mended = json("'mendedBy':'D_2','mendedAt':'2026-05-01T11:58:00Z'}");
        QVERIFY2(jsonLine(ready, noon()).contains(mended), jsonLine(ready, noon()));
        QVERIFY(jsonLine(failed, noon(), ready.marks.value(failed.id)).endsWith(mended));
        ready.marks[failed.id].isCounted = false;
        QVERIFY(jsonLine(ready, noon()).contains(json("'mendedAt':'2026-05-01T11:58:00Z','counted':false}")));
        ready.marks[failed.id] = FailureMark{std::nullopt, false, true};
        QVERIFY(jsonLine(ready, noon()).contains(json("'dismissed':true,'counted':false}")));
    }

    void howManyAreHiddenIsPrintedWhereThereAreAny()
    {
        MonitorReport ready = report(State::ready(noon()));
        QVERIFY(!jsonLine(ready, noon()).contains("paused"));
        MonitorReport paused = ready;
        paused.isPaused = true;
        QVERIFY(jsonLine(paused, noon()).contains(json("'paused':true,")));
        QVERIFY(!jsonLine(paused, noon()).contains("pausedUntil"));
        paused.pausedUntil = noon() + 1h;
        QVERIFY(jsonLine(paused, noon()).contains(json("'paused':true,'pausedUntil':'2026-05-01T13:00:00Z',")));
        QVERIFY(!jsonLine(ready, noon()).contains("hidden"));
        ready.hidden = {makeSnapshot(QStringLiteral("D_9"), DeploymentState::Success, noon())};
        QVERIFY(jsonLine(ready, noon()).contains(json("'hidden':1,")));
        QVERIFY(!jsonLine(ready, noon()).contains("D_9"));
    }

    void failuresArePrintedAsTheReportPrintsThem()
    {
        const auto failed = makeSnapshot(QStringLiteral("D_1"), DeploymentState::Failure, noon());
        const FailureMark mark{std::nullopt, false};
        const FailuresAnswer answer{{}, {}, true, {failed}, {{failed.id, mark}}};
        QCOMPARE(jsonLine(answer, noon()),
            json("{'ignoresMended':true,'deployments':[") + jsonLine(failed, noon(), mark) + "]}");
    }

    void aDeploymentOnItsOwnHasTheFormThatItHasInTheReport()
    {
        MonitorReport ready = report(State::ready(noon()));
        ready.deployments = {makeSnapshot(QStringLiteral("D_1"), DeploymentState::InProgress, noon() - 3min)};
        const QByteArray alone = jsonLine(*ready.deployments.first(), noon());
        QVERIFY2(alone.startsWith(json("{'id':'D_1',")) && alone.contains(json("'elapsedSeconds':180")), alone);
        QVERIFY(jsonLine(ready, noon()).contains('[' + alone + ']'));
    }

    void theTitleIsTheNumberOfActiveDeploymentsElseTheName()
    {
        MonitorReport ready = report(State::ready(noon()));
        ready.applicationName = QStringLiteral("Velmora Demo");
        QVERIFY(jsonLine(ready, noon()).contains(json("'title':'Velmora Demo'")));
        ready.deployments = {makeSnapshot(QStringLiteral("D_1"), DeploymentState::Queued, noon())};
        QVERIFY(jsonLine(ready, noon()).contains(json("'title':'1','symbol':'arrow.up.circle.fill'")));
    }

    void savedDataIsMarked()
    {
        MonitorReport saved = report(State::stale(noon()));
        saved.isSaved = true;
        saved.lastRefreshedAt = noon();
        saved.savedAt = noon();
        QCOMPARE(jsonLine(saved, noon()),
            json("{'saved':true,'savedAt':'2026-05-01T12:00:00Z','state':'stale','title':'Velmora',"
                 "'symbol':'exclamationmark.circle','lastRefreshedAt':'2026-05-01T12:00:00Z','deployments':[]}"));
        MonitorReport nothing = report(State::disconnected(MissingStep::Account));
        nothing.isSaved = true;
        QCOMPARE(jsonLine(nothing, noon()),
            json("{'saved':true,'state':'disconnected','title':'Velmora','symbol':'arrow.up.circle.dotted',"
                 "'missing':'account','deployments':[]}"));
    }

    void whatIsMissingIsNamed()
    {
        QCOMPARE(jsonLine(report(State::disconnected(MissingStep::Installation)), noon()),
            json("{'state':'disconnected','title':'Velmora','symbol':'arrow.up.circle.dotted',"
                 "'missing':'installation','deployments':[]}"));
    }

    void aNotificationIsALineOfItsOwn()
    {
        const auto snapshot = makeSnapshot(QStringLiteral("D_1"), DeploymentState::Failure, noon());
        QCOMPARE(jsonLine(deploymentNotification(snapshot, DeploymentNotificationKind::Failure)),
            json("{'notification':{'title':'acme/web failed','subtitle':'production',"
                 "'body':'The deployment did not complete successfully.',"
                 "'url':'https://github.com/acme/web/deployments','identifier':'D_1:failure'}}"));
    }

    void controlCharactersAreEscaped()
    {
        auto snapshot = makeSnapshot(QStringLiteral("D_1"), DeploymentState::Failure, noon());
        snapshot.environment = QStringLiteral("a\x1b[2J\u009b\nb");
        const QByteArray line = jsonLine(deploymentNotification(snapshot, DeploymentNotificationKind::Failure));
        QVERIFY2(line.contains(json("'subtitle':'a\\u001B[2J\\u009b\\nb'")), line.constData());
    }
};

VELMORA_TEST(PrintedReportTest)
#include "printed_report_test.moc"
