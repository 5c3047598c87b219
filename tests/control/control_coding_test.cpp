// SPDX-License-Identifier: MIT
#include "control/control_coding.h"

#include "support/builders.h"
#include "support/error.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using State = DeploymentMonitorState;

namespace
{

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
    report.deployments = {makeSnapshot(QStringLiteral("D_1"), DeploymentState::InProgress, noon() + 7us)};
    report.deployments.first().statusDescription = QStringLiteral("");
    report.deployments.first().logURL = WebAddress(QStringLiteral("https://ci.example/1"));
    return report;
}

} // namespace

/// Checks that records survive encoding and decoding unchanged.
class ControlCodingTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReportArrivesExactlyInEveryState()
    {
        compareAfterTheWay(fullReport(State::loading(true)));
        compareAfterTheWay(fullReport(State::ready(noon() + 1us)));
        compareAfterTheWay(fullReport(State::stale(std::nullopt)));
        compareAfterTheWay(fullReport(State::rateLimited(noon(), noon() + 90s)));
        MonitorReport saved = fullReport(State::disconnected(MissingStep::Selection));
        saved.origin = ReportOrigin::Saved;
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
            {1, QStringLiteral("zed"), QStringLiteral("connected"), page, QStringLiteral("Connect zed again.")}});
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

VELMORA_TEST(ControlCodingTest)
#include "control_coding_test.moc"
